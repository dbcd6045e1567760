// SPDX-License-Identifier: Apache-2.0
#include "cpld_test.hpp"

// getCPLDVersionString: one call of the device's own object.

using namespace test;
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

TEST_F(RunningVersion, OfTheRootObjectIsAskedForAsOfAnyOther)
{
    offer(cpld_manager::service,
          {cpld_manager::method("/", "readMBVersionString", reply::text("1"))});

    EXPECT_EQ(manager.getCPLDVersionString("/"), "1");

    EXPECT_THAT(events(), ElementsAre("call: readMBVersionString"));
    EXPECT_THAT(sent(),
                ElementsAre(cpld_manager::call("/", "readMBVersionString")));
}

TEST_F(RunningVersion, OfAnEmptyPathIsEmptyWithoutACall)
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

} // namespace
