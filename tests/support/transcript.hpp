// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <memory>
#include <mutex>
#include <streambuf>
#include <string>
#include <vector>

namespace test
{

/** What happened, in order: what was flushed to `std::cout` and `std::cerr`
 *  while the object lives, and what others noted in between.
 */
class Transcript
{
  public:
    Transcript();
    ~Transcript();

    Transcript(const Transcript&) = delete;
    Transcript& operator=(const Transcript&) = delete;

    /** Adds an event of another source; from any thread. */
    void note(std::string event);

    /** The events so far, which are then forgotten: "out: " or "err: " and
     *  the bytes; text that was never flushed comes last, marked so.
     */
    std::vector<std::string> events();

  private:
    class Recorder;

    std::mutex mutex;
    std::vector<std::string> happened;
    std::unique_ptr<Recorder> out;
    std::unique_ptr<Recorder> err;
};

/** A line on standard output or error, as `Transcript` tells of it. */
std::string out(const std::string& line);
std::string err(const std::string& line);

/** Text on standard error that is not flushed. */
std::string errNotFlushed(const std::string& text);

} // namespace test
