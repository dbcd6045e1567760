// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "child.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace bmcsim
{

/** Both ends of a pipe, closed with the object. */
struct Pipe
{
    Pipe()
    {
        checked(pipe2(ends, O_CLOEXEC), "pipe");
    }

    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeEnd(int end)
    {
        if (ends[end] >= 0)
        {
            close(ends[end]);
            ends[end] = -1;
        }
    }

    int ends[2];
};

} // namespace bmcsim
