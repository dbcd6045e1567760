// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/forger.hpp"
#include "../support/images.hpp"
#include "../support/open_bus.hpp"
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <tuple>

// The documents' daemon, while another user sends signals to it from its start
// to its end: they say of its flash what is not so.

using namespace test;

namespace
{

/** How a flash ends, and how another user says that it does. */
struct Lie
{
    std::string name;
    std::string flash;
    std::string jobResult;
};

void PrintTo(const Lie& lie, std::ostream* stream)
{
    *stream << lie.name;
}

class Forged : public testing::TestWithParam<std::tuple<std::string, Lie>>
{
  protected:
    const Lie& lie = std::get<Lie>(GetParam());
    OpenBus bus{std::get<std::string>(GetParam())};
    Simulation bmc{{"--bus", bus.address(), "--set", "flash=" + lie.flash}};
    Images images;
};

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

TEST_P(Forged, SignalsDoNotChangeHowTheDaemonEnds)
{
    const auto image = images.bmc("2.14.0");
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
    const auto flashes = lie.flash == "normal";
    EXPECT_EQ(handled.status, flashes ? 0 : 1);
    EXPECT_EQ(handled.err, "");
    EXPECT_EQ(bmc.flash("bmc") == bytesOf(image), flashes);
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, Forged,
    testing::Combine(
        testing::ValuesIn(busPrograms()),
        testing::Values(Lie{"OfAFailedFlash", "fail", "done"},
                        Lie{"OfASuccessThatFailed", "normal", "failed"},
                        Lie{"OfASuccessThatWasSkipped", "normal", "skipped"},
                        Lie{"OfASuccessThatWasCanceled", "normal",
                            "canceled"})),
    [](const auto& row) {
        const auto& program = std::get<std::string>(row.param);
        return std::get<Lie>(row.param).name +
               (program == "dbus-daemon" ? "OnDbusDaemon" : "OnDbusBroker");
    });

} // namespace
