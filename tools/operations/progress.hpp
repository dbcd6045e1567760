// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

/** Shows on standard error that something takes its time, and how long: on a
 *  terminal a line that is kept up to date, elsewhere a line now and then.
 */
class Progress
{
  public:
    /** @param quiet  whether nothing is shown at all */
    Progress(const std::string& what, bool quiet);

    /** Takes the line off the terminal. */
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::chrono::nanoseconds elapsed);

  private:
    std::string what;
    bool quiet;
    bool onTerminal;
    std::chrono::seconds shown{0};
};
