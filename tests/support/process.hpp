// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace test
{

/** How a program ended and what it said. */
struct Completed
{
    /** The exit status, or 128 and the number of the signal that killed it. */
    int status;
    std::string out;
    std::string err;

    bool operator==(const Completed&) const = default;
};

void PrintTo(const Completed& completed, std::ostream* stream);

/** A running program with both streams read. Killed with the object. */
class Process
{
  public:
    /** @param arguments    the program, found in PATH, and its arguments
     *  @param environment  variables to set, as NAME=VALUE
     */
    Process(const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment = {});
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void signal(int number) const;

    pid_t id() const
    {
        return child;
    }

    /** Waits until the program's standard output holds `text`, and returns
     *  it up to there; throws when it does not within 120 s.
     */
    std::string awaitOutput(const std::string& text);

    /** Waits for the end; throws when the streams are open after 120 s, or
     *  the program runs 60 s after it closed them.
     */
    Completed wait();

  private:
    using Time = std::chrono::steady_clock::time_point;

    /** Reads what has arrived; false at the end of both streams. */
    bool readSome(Time deadline);

    pid_t child = -1;
    int streams[2] = {-1, -1};
    std::string text[2];
};

/** Whether it has ended; its status stays to be waited for. */
bool hasEnded(const Process& process);

/** Asks again and again until it is true; throws where that takes 60 s.
 *
 *  @param what  is awaited, for the error
 */
void awaitTrue(const std::string& what, const std::function<bool()>& isTrue);

/** Runs a program to its end. */
Completed run(const std::vector<std::string>& arguments,
              const std::vector<std::string>& environment = {});

/** A variable that the build sets for tests, such as a program's path. */
std::string fromEnvironment(const std::string& name);

} // namespace test
