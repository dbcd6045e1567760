// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

/** Listens to what the library logs on `std::cout` and `std::cerr`, so that
 *  it neither mixes with the tool's own output nor gets lost.
 *
 *  While an object lives, the tool itself must write to neither stream.
 */
class LibraryLog
{
  public:
    /** @param passOn  whether the lines go to standard error as well */
    explicit LibraryLog(bool passOn);
    ~LibraryLog();

    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    /** The lines so far, without newlines. */
    std::vector<std::string> progress() const;
    std::vector<std::string> errors() const;

    /** Why an operation failed, in the library's own words, on one line. */
    std::string reason() const;

    /** Whether an operation failed because a service could not be asked. */
    bool tellsOfAFailedCall() const;

    /** Whether a BIOS image was refused because it is for another board. */
    bool tellsOfAnotherBoard() const;

  private:
    class Listener;

    std::unique_ptr<Listener> out;
    std::unique_ptr<Listener> err;
};
