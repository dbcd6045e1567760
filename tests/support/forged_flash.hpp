// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "forger.hpp"
#include "images.hpp"
#include "open_bus.hpp"
#include "rights.hpp"
#include "simulation.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>

namespace test
{

/** How a flash ends, and how another user says that it does. */
struct Lie
{
    std::string name;
    std::string flash;
    std::string jobResult;
};

inline void PrintTo(const Lie& lie, std::ostream* stream)
{
    *stream << lie.name;
}

/** A simulated BMC on a bus that every user reaches, for each bus and each lie.
 */
class ForgedFlash : public testing::TestWithParam<std::tuple<std::string, Lie>>
{
  public:
    /** On both buses. */
    static auto with(const std::vector<Lie>& lies)
    {
        return testing::Combine(testing::Values("dbus-daemon", "dbus-broker"),
                                testing::ValuesIn(lies));
    }

    /** Every false end of a flash that a forged signal can claim. */
    static auto withEveryLie()
    {
        return with({{"OfAFailedFlash", "fail", "done"},
                     {"OfASuccessThatFailed", "normal", "failed"},
                     {"OfASuccessThatWasSkipped", "normal", "skipped"},
                     {"OfASuccessThatWasCanceled", "normal", "canceled"}});
    }

    static std::string name(const testing::TestParamInfo<ParamType>& row)
    {
        const auto& [program, lie] = row.param;
        return lie.name +
               (program == "dbus-daemon" ? "OnDbusDaemon" : "OnDbusBroker");
    }

  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_OTHER_USERS();
    }

    bool flashes() const
    {
        return lie.flash == "normal";
    }

    const Lie& lie = std::get<Lie>(GetParam());
    OpenBus bus{std::get<std::string>(GetParam())};
    Simulation bmc{{"--bus", bus.address(), "--set", "flash=" + lie.flash}};
    Images images;
    std::string image = images.bmc("1");
};

} // namespace test
