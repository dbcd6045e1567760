// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/forged_flash.hpp"
#include "../support/private_bus.hpp"

#include <algorithm>

// The documents' daemon, while another user sends signals to it from its start
// to its end: they say of its flash what is not so.

using namespace test;

namespace
{

/** systemd's name goes to the sender of this. */
ForgedSignal ownershipOfSystemd()
{
    auto signal = forgedNameOwnerChanged("", "", "");
    signal.append = [](sd_bus_message* message) {
        const char* sender = nullptr;
        check(sd_bus_get_unique_name(sd_bus_message_get_bus(message), &sender),
              "sender");
        check(sd_bus_message_append(message, "sss", "org.freedesktop.systemd1",
                                    "", sender),
              "append");
    };
    return signal;
}

using Forged = ForgedFlash;

TEST_P(Forged, SignalsDoNotChangeHowTheDaemonEnds)
{
    auto unit =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + image + ".service";
    std::ranges::replace(unit, '/', '-');
    const auto ended = forgedJobRemoved(unit, lie.jobResult);

    Process daemon({fromEnvironment("WEXA_DAEMON"), image}, bmc.environment());
    do
    {
        forge(bus.address(), {malformed(ended), malformed(ownershipOfSystemd()),
                              ownershipOfSystemd(), malformed(ended), ended});
    } while (!hasEnded(daemon));

    const auto handled = daemon.wait();
    EXPECT_EQ(handled.status, flashes() ? 0 : 1);
    EXPECT_EQ(handled.err, "");
    EXPECT_EQ(bmc.flash("bmc") == bytesOf(image), flashes());
}

INSTANTIATE_TEST_SUITE_P(Outcomes, Forged, ForgedFlash::withEveryLie(),
                         ForgedFlash::name);

} // namespace
