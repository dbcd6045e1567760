// SPDX-License-Identifier: Apache-2.0
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"
#include "../support/transcript.hpp"
#include "load.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <signal.h>

#include <algorithm>

// Flashes on a real systemd, one after another, each from its start to the end
// of its job.

using namespace test;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

namespace
{

constexpr auto systemd = "org.freedesktop.systemd1.Manager";

class FlashCycles : public testing::Test
{
  protected:
    FlashCycles()
    {
        board.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n"
                               "Type=oneshot\nExecStart=/bin/true\n");
        check(sd_bus_match_signal(raw.get(), nullptr, nullptr, nullptr, systemd,
                                  "JobRemoved", heard, this),
              "sd_bus_match_signal");
    }

    static int heard(sd_bus_message* signal, void* test, sd_bus_error*)
    {
        auto& cycles = *static_cast<FlashCycles*>(test);
        sdbusplus::message_t message{signal};
        const auto outcome = cycles.manager.onBMCStateChange(message);
        cycles.outcome = std::max(cycles.outcome, outcome);
        return 0;
    }

    /** The outcome of the launched flash. */
    int awaitOutcome()
    {
        outcome = 0;
        processUntil(raw.get(), [this] { return outcome != 0; });
        return outcome;
    }

    Simulation board;
    Transcript transcript;
    Connection raw = connectTo(board.busAddress());
    sdbusplus::bus_t connection{raw.get()};
    FWManagerInternal manager{connection};
    int outcome = 0;
};

TEST_F(FlashCycles, EndAsDone)
{
    int number = 0;
    Load("flashes on systemd", 5'000, 0.08).run([&] {
        ASSERT_EQ(manager.UpdateBMC("/tmp/image" + std::to_string(++number),
                                    VersionPurpose::BMC, ""),
                  0);
        ASSERT_EQ(awaitOutcome(), 1);
        transcript.events();
    });
    EXPECT_EQ(board.end().status, 128 + SIGTERM);
}

} // namespace
