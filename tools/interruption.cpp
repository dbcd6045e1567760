// SPDX-License-Identifier: Apache-2.0
#include "interruption.hpp"

#include <unistd.h>

static volatile sig_atomic_t received = 0;
static volatile sig_atomic_t hasSecondPassed = 0;

static void remember(int signal)
{
    if (signal == SIGALRM)
    {
        hasSecondPassed = 1;
        alarm(1);
        return;
    }
    if (received == 0)
    {
        // Ends a call that begins between this signal and the next look at it.
        alarm(1);
    }
    if (received != 0 && hasSecondPassed != 0)
    {
        ::signal(signal, SIG_DFL);
        raise(signal);
    }
    received = signal;
}

Interruption::Interruption()
{
    received = 0;
    hasSecondPassed = 0;
    struct sigaction action = {};
    action.sa_handler = remember;
    // Writing goes on; waiting for an answer does not.
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        sigaction(signals[i], nullptr, &before[i]);
        // A signal that is ignored, as under nohup, stays so.
        if (before[i].sa_handler != SIG_IGN)
        {
            sigaction(signals[i], &action, nullptr);
        }
    }
}

Interruption::~Interruption()
{
    alarm(0);
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        sigaction(signals[i], &before[i], nullptr);
    }
}

std::optional<int> Interruption::signal()
{
    return received == 0 ? std::nullopt : std::optional<int>(received);
}
