// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>

#include <array>
#include <optional>

/** While an object lives, SIGHUP, SIGINT and SIGTERM do not end the tool but
 *  are remembered, so that it can say what it leaves undone.
 *
 *  A D-Bus call that waits ends with the error System.Error.EINTR. A call that
 *  begins just after the signal ends so within a second. A second signal ends a
 *  tool that has not ended by then: a reader may keep it from printing.
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
    static constexpr std::array signals{SIGHUP, SIGINT, SIGTERM, SIGALRM};

    std::array<struct sigaction, signals.size()> before{};
};
