// SPDX-License-Identifier: Apache-2.0
#include "progress.hpp"

#include <plain.hpp>
#include <unistd.h>

#include <cstdio>

using std::chrono::duration_cast;
using std::chrono::seconds;

Progress::Progress(const std::string& what, bool quiet) :
    what(plain::line(what)), quiet(quiet),
    onTerminal(!quiet && isatty(STDERR_FILENO) == 1)
{
    if (!quiet)
    {
        std::fprintf(stderr, "%s%s", this->what.c_str(),
                     onTerminal ? "" : "\n");
    }
}

Progress::~Progress()
{
    if (onTerminal)
    {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::show(std::chrono::nanoseconds elapsed)
{
    constexpr seconds interval{10};
    const auto now = duration_cast<seconds>(elapsed);
    if (onTerminal && now > shown)
    {
        std::fprintf(stderr, "\r%s, %lld s", what.c_str(),
                     static_cast<long long>(now.count()));
        shown = now;
    }
    if (!quiet && !onTerminal && now >= shown + interval)
    {
        std::fprintf(stderr, "%s, %lld s\n", what.c_str(),
                     static_cast<long long>(now.count()));
        shown = now;
    }
}
