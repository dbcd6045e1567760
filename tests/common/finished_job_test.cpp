// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"
#include "../support/systemd_manager.hpp"

#include <cstdint>
#include <limits>
#include <locale>

// The end of a systemd job. The three operations are one under three names:
// each recognises the flash that was launched last, whichever kind it is of.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

namespace
{

using StateChange = int (FWManagerInternal::*)(sdbusplus::message_t& msg);

struct Handler
{
    std::string name;
    StateChange handle;
};

const auto unit =
    std::string(R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-tmp-a.service)");

class FinishedJob :
    public LibraryTest,
    public testing::WithParamInterface<Handler>
{
  protected:
    /** Launches the flash of /tmp/a and forgets what that did. */
    void launch()
    {
        offer(systemd_manager::service,
              {systemd_manager::startUnit(systemd_manager::accepts())});
        manager.UpdateBMC("/tmp/a", VersionPurpose::BMC, "");
        events();
        sent();
    }

    int handle(sdbusplus::message_t signal)
    {
        return (manager.*GetParam().handle)(signal);
    }

    std::string failure(const std::function<void(sd_bus_message*)>& append)
    {
        return thrownText<sdbusplus::exception::SdBusError>(
            [&] { handle(signalWith(append)); });
    }
};

INSTANTIATE_TEST_SUITE_P(
    Handlers, FinishedJob,
    testing::Values(
        Handler{"onBMCStateChange", &FWManagerInternal::onBMCStateChange},
        Handler{"onBIOSStateChange", &FWManagerInternal::onBIOSStateChange},
        Handler{"onCPLDStateChange", &FWManagerInternal::onCPLDStateChange}),
    [](const auto& row) { return row.param.name; });

TEST_P(FinishedJob, IsNotOursBeforeAnyLaunch)
{
    EXPECT_EQ(handle(jobRemoved(42, unit, "done")), 0);

    EXPECT_THAT(events(),
                ElementsAre(out("42"), out("/org/freedesktop/systemd1/job/7"),
                            out(unit), out("done"), out("serviceFile: ")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_P(FinishedJob, IsOursAndDone)
{
    launch();

    EXPECT_EQ(handle(jobRemoved(42, unit, "done")), 1);

    EXPECT_THAT(events(),
                ElementsAre(out("42"), out("/org/freedesktop/systemd1/job/7"),
                            out(unit), out("done"),
                            out("serviceFile: " + unit)));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_P(FinishedJob, IsOursAndNotDoneWithAnyOtherResult)
{
    launch();

    for (const std::string result :
         {"failed", "canceled", "timeout", "dependency", "skipped", "assert",
          "Done", "DONE", "done ", " done", "don", ""})
    {
        EXPECT_EQ(handle(jobRemoved(42, unit, result)), 2) << result;
        EXPECT_THAT(
            events(),
            ElementsAre(out("42"), out("/org/freedesktop/systemd1/job/7"),
                        out(unit), out(result), out("serviceFile: " + unit)));
    }
}

TEST_P(FinishedJob, IsNotOursWhereTheUnitDiffersInAnyByte)
{
    launch();

    for (const auto& other :
         {unit + ".service", unit.substr(0, unit.size() - 8),
          std::string("obmc-flash-bmc-rot2@bmc_rot2 update -tmp-a.service"),
          std::string("system-obmc.slice"), std::string()})
    {
        EXPECT_EQ(handle(jobRemoved(42, other, "done")), 0) << other;
        EXPECT_THAT(
            events(),
            ElementsAre(out("42"), out("/org/freedesktop/systemd1/job/7"),
                        out(other), out("done"), out("serviceFile: " + unit)));
    }
}

TEST_P(FinishedJob, WithoutAUnitIsOursBeforeAnyLaunch)
{
    EXPECT_EQ(handle(jobRemoved(1, "", "done")), 1);
    EXPECT_EQ(handle(jobRemoved(1, "", "failed")), 2);
}

TEST_P(FinishedJob, YieldsItsOutcomeAsOftenAsItIsReported)
{
    launch();

    EXPECT_EQ(handle(jobRemoved(1, unit, "canceled")), 2);
    EXPECT_EQ(handle(jobRemoved(2, unit, "done")), 1);
    EXPECT_EQ(handle(jobRemoved(2, unit, "done")), 1);
    EXPECT_EQ(rememberedUnit(), unit);
}

/** Groups digits, as a daemon's locale may. */
struct Grouping : std::numpunct<char>
{
    char do_thousands_sep() const override
    {
        return '.';
    }

    std::string do_grouping() const override
    {
        return "\3";
    }
};

TEST_P(FinishedJob, IsReadOnceUnlessItsMessageIsRewound)
{
    launch();
    auto signal = jobRemoved(42, unit, "done");
    EXPECT_EQ(manager.onBMCStateChange(signal), 1);

    EXPECT_EQ(
        thrownText<sdbusplus::exception::SdBusError>([&] { handle(signal); }),
        "sd_bus_message_read_basic fundamental: System.Error.ENXIO: "
        "No such device or address");

    check(sd_bus_message_rewind(signal.get(), 1), "rewind");
    EXPECT_EQ(handle(signal), 1);
}

TEST_P(FinishedJob, IsNumberedInPlainDecimalWhateverTheStreamIsSetTo)
{
    const auto locale =
        std::cout.imbue(std::locale(std::locale(), new Grouping));
    const auto flags = std::cout.setf(std::ios::hex, std::ios::basefield);
    std::cout.setf(std::ios::showbase | std::ios::showpos);
    std::cout.width(20);

    for (const auto& [id, text] :
         {std::pair(std::uint32_t{0}, "0"),
          std::pair(std::uint32_t{1234567}, "1234567"),
          std::pair(std::numeric_limits<std::uint32_t>::max(), "4294967295")})
    {
        handle(jobRemoved(id, unit, "done"));
        EXPECT_EQ(events().front(), out(text));
    }

    std::cout.width(0);
    std::cout.flags(flags);
    std::cout.imbue(locale);
}

TEST_P(FinishedJob, MustBeginWithAJobNumber)
{
    EXPECT_EQ(failure([](auto* m) { sd_bus_message_append(m, "s", "7"); }),
              "sd_bus_message_read_basic fundamental: System.Error.ENXIO: "
              "No such device or address");
    EXPECT_EQ(failure([](auto*) {}),
              "sd_bus_message_read_basic fundamental: System.Error.ENXIO: "
              "No such device or address");
    EXPECT_THAT(events(), IsEmpty());
}

TEST_P(FinishedJob, MustHoldPathUnitAndResult)
{
    const std::string text = "sd_bus_message_read_basic string: "
                             "System.Error.ENXIO: No such device or address";

    EXPECT_EQ(failure([](auto* m) { sd_bus_message_append(m, "u", 7); }), text);
    EXPECT_EQ(failure([](auto* m) {
                  sd_bus_message_append(m, "usss", 7, "/job/7", "unit", "done");
              }),
              text);
    EXPECT_EQ(failure([](auto* m) {
                  sd_bus_message_append(m, "uous", 7, "/job/7", 8, "done");
              }),
              text);
    EXPECT_EQ(failure([](auto* m) {
                  sd_bus_message_append(m, "uos", 7, "/job/7", "unit");
              }),
              text);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_P(FinishedJob, MayCarryMoreThanItMust)
{
    EXPECT_EQ(handle(signalWith([](auto* m) {
                  sd_bus_message_append(m, "uosss", 7, "/job/7", "unit", "done",
                                        "more");
              })),
              0);
    EXPECT_THAT(events(), ElementsAre(out("7"), out("/job/7"), out("unit"),
                                      out("done"), out("serviceFile: ")));
}

} // namespace
