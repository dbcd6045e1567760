// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/failure.hpp"

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

    /** The lines of progress so far, without newlines. */
    std::vector<std::string> progress() const;

    /** Why an operation failed: the step, the lines that tell of it, the
     *  D-Bus error and what to do.
     */
    Reason reason() const;

    /** The D-Bus error of the first line of failure that holds a text; empty
     *  where there is no such line, or no error in it.
     */
    std::string dbusErrorOf(const std::string& text) const;

    /** Whether an operation failed because a service could not be asked. */
    bool tellsOfAFailedCall() const;

    /** Whether all went well but that the version was not recorded. */
    bool tellsOfAnUnrecordedVersion() const;

    /** Whether an operation failed when it compared the image's board with
     *  this one.
     */
    bool tellsOfBoards() const;

  private:
    class Listener;

    std::vector<std::string> linesOfFailure() const;

    std::unique_ptr<Listener> out;
    std::unique_ptr<Listener> err;
};
