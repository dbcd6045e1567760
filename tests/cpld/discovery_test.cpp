// SPDX-License-Identifier: Apache-2.0
#include "cpld_test.hpp"

// getAvailableCpldCompsInfo: all components or none.

using namespace test;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Pair;
using wexa::core::PropertyValue;

namespace
{

class Discovery : public CpldTest
{
  protected:
    static Method version(const std::string& device, Reply reply)
    {
        return cpld_manager::method(device, "readMBVersionString",
                                    std::move(reply));
    }

    static std::string failure(const std::string& what)
    {
        return err("ERROR !! Failed to prepare CPLD info: " + what);
    }
};

const auto heading = out("[getAvailableCpldCompsInfo]");

TEST_F(Discovery, ListsEachComponentWithVersionAndProperties)
{
    using namespace cpld_manager;
    offerManagerWith(
        registry({{"SCM", scm, "i2c", {}},
                  {"MB",
                   mb,
                   "jtag",
                   {text("vendor", "W"), property("odd", "d", 1.5)}}}),
        {version(mb, reply::text("1.2")), version(scm, reply::text(""))});

    EXPECT_THAT(
        manager.getAvailableCpldCompsInfo(),
        ElementsAre(
            Pair("MB",
                 FieldsAre("1.2",
                           ElementsAre(Pair("odd", PropertyValue()),
                                       Pair("vendor", PropertyValue("W"))))),
            Pair("SCM", FieldsAre("", IsEmpty()))));

    EXPECT_THAT(events(), ElementsAre(heading, "call: bindedDevices",
                                      out("Add component MB, dev " +
                                          std::string(mb) + ", drv jtag"),
                                      "call: readMBVersionString",
                                      out("Add component SCM, dev " +
                                          std::string(scm) + ", drv i2c"),
                                      "call: readMBVersionString"));
    EXPECT_THAT(sent(),
                ElementsAre(registryCall(), call(mb, "readMBVersionString"),
                            call(scm, "readMBVersionString")));
}

TEST_F(Discovery, ListsAComponentWhoseVersionIsNotTold)
{
    offerManagerWith(cpld_manager::registry(
                         {{"MB", mb, "jtag", {}}, {"NO", "", "none", {}}}),
                     {version(mb, reply::error("x.Busy", "Busy."))});

    EXPECT_THAT(manager.getAvailableCpldCompsInfo(),
                ElementsAre(Pair("MB", FieldsAre("", IsEmpty())),
                            Pair("NO", FieldsAre("", IsEmpty()))));

    EXPECT_THAT(
        events(),
        ElementsAre(
            heading, "call: bindedDevices",
            out("Add component MB, dev " + std::string(mb) + ", drv jtag"),
            "call: readMBVersionString",
            err("Error in method call for "
                "(xyz.openbmc_project.CpldUpdateMgrSvc, " +
                std::string(mb) +
                ", xyz.openbmc_project.cpld_update_mgr.CpldDevice: "
                "sd_bus_call: x.Busy: Busy.)"),
            out("Add component NO, dev , drv none"),
            err("ERROR !! device objpath is empty")));
}

TEST_F(Discovery, IsNeverPartial)
{
    offerManagerWith(cpld_manager::registry({{"A", mb, "d", {}},
                                             {"B", mb, "d", {}},
                                             {"C", "malformed", "d", {}},
                                             {"D", mb, "d", {}},
                                             {"E", mb, "d", {}}}),
                     {version(mb, reply::text("1"))});

    EXPECT_THAT(manager.getAvailableCpldCompsInfo(), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre(heading, "call: bindedDevices",
                    out("Add component A, dev " + std::string(mb) + ", drv d"),
                    "call: readMBVersionString",
                    out("Add component B, dev " + std::string(mb) + ", drv d"),
                    "call: readMBVersionString",
                    out("Add component C, dev malformed, drv d"),
                    failure("sd_bus_message_new_method_call: "
                            "org.freedesktop.DBus.Error.InvalidArgs: Invalid "
                            "argument")));
}

} // namespace
