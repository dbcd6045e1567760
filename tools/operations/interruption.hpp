// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>

#include <array>
#include <optional>

/** While an object lives, SIGHUP, SIGINT and SIGTERM do not end the tool but
 *  are remembered, so that it can say what it leaves undone.
 */
class Interruption
{
  public:
    Interruption();
    ~Interruption();

    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /** The signal that came last. */
    static std::optional<int> signal();

  private:
    static constexpr std::array signals{SIGHUP, SIGINT, SIGTERM};

    std::array<struct sigaction, signals.size()> before{};
};
