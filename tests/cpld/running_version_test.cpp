// SPDX-License-Identifier: Apache-2.0
#include "cpld_test.hpp"

// getCPLDVersionString: one call of the device's own object.

using namespace test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class RunningVersion : public CpldTest
{
  protected:
    void deviceAnswers(Reply reply)
    {
        offer(cpld_manager::service,
              {cpld_manager::method(mb, "readMBVersionString",
                                    std::move(reply))});
    }

    std::string failure(const std::string& what) const
    {
        return err("Error in method call for "
                   "(xyz.openbmc_project.CpldUpdateMgrSvc, " +
                   std::string(mb) +
                   ", xyz.openbmc_project.cpld_update_mgr.CpldDevice: " + what +
                   ")");
    }
};

TEST_F(RunningVersion, IsWhatTheDeviceTells)
{
    for (const auto* version : {"1.0-rc2", "", "{} %s"})
    {
        deviceAnswers(reply::text(version));

        EXPECT_EQ(manager.getCPLDVersionString(mb), version);

        EXPECT_THAT(events(), ElementsAre("call: readMBVersionString"));
        EXPECT_THAT(sent(),
                    ElementsAre(cpld_manager::call(mb, "readMBVersionString")));
    }
}

TEST_F(RunningVersion, OfAnEmptyPathIsEmptyAndNobodyIsAsked)
{
    deviceAnswers(reply::text("1"));

    EXPECT_EQ(manager.getCPLDVersionString(""), "");

    EXPECT_THAT(events(), ElementsAre(err("ERROR !! device objpath is empty")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(RunningVersion, EndsWhereThePathIsMalformed)
{
    for (const auto* path : {"no/slash", "/double//slash", "/end/", "/sp ace"})
    {
        EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                      [&] { manager.getCPLDVersionString(path); }),
                  "sd_bus_message_new_method_call: "
                  "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
    }
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(sent(), IsEmpty());
}

struct BadAnswer
{
    std::string name;
    Reply reply;
    std::string what;
};

class RunningVersionFails :
    public RunningVersion,
    public testing::WithParamInterface<BadAnswer>
{};

TEST_P(RunningVersionFails, WithOneLine)
{
    setTimeout(100ms);
    deviceAnswers(GetParam().reply);

    EXPECT_EQ(manager.getCPLDVersionString(mb), "");

    EXPECT_THAT(events(), ElementsAre("call: readMBVersionString",
                                      failure(GetParam().what)));
}

INSTANTIATE_TEST_SUITE_P(
    RunningVersion, RunningVersionFails,
    testing::Values(
        BadAnswer{"WhereTheDeviceAnswersAnError",
                  reply::error("xyz.openbmc_project.Error", "JTAG is busy."),
                  "sd_bus_call: xyz.openbmc_project.Error: JTAG is busy."},
        BadAnswer{"WhereTheDeviceNeverAnswers", reply::silence(),
                  "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
                  "Connection timed out"},
        BadAnswer{"WhereTheAnswerIsNoText", reply::number(1),
                  "sd_bus_message_read_basic string: System.Error.ENXIO: No "
                  "such device or address"}),
    [](const auto& row) { return row.param.name; });

TEST_F(RunningVersion, FailsWhereTheManagerIsAbsent)
{
    EXPECT_EQ(manager.getCPLDVersionString(mb), "");
    EXPECT_THAT(events(), ElementsAre(failure(cpld_manager::absent)));
}

} // namespace
