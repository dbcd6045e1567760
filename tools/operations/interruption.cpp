// SPDX-License-Identifier: Apache-2.0
#include "interruption.hpp"

static volatile sig_atomic_t received = 0;

static void remember(int signal)
{
    received = signal;
}

Interruption::Interruption()
{
    received = 0;
    struct sigaction action = {};
    action.sa_handler = remember;
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        sigaction(signals[i], nullptr, &before[i]);
        // Whoever ignores a signal, as nohup does, wants it ignored.
        if (before[i].sa_handler != SIG_IGN)
        {
            sigaction(signals[i], &action, nullptr);
        }
    }
}

Interruption::~Interruption()
{
    for (std::size_t i = 0; i < signals.size(); ++i)
    {
        sigaction(signals[i], &before[i], nullptr);
    }
}

std::optional<int> Interruption::signal()
{
    return received == 0 ? std::nullopt : std::optional<int>(received);
}
