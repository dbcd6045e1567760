// SPDX-License-Identifier: Apache-2.0
#include "doctor_findings.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

// What the doctor does not look at, it says; and whether a flash runs.

using namespace test;

namespace
{

using NotChecked = std::vector<std::string>;

class DoctorTells : public ToolTest
{
  protected:
    std::string doctor(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"doctor", "--json"});
        auto text = fwmgr(arguments).out;
        EXPECT_EQ(violationsIn(text), "");
        return text;
    }

    Process flash(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{fromEnvironment("WEXA_FWMGR"),
                                         "update"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return Process(command, bmc.environment());
    }
};

TEST_F(DoctorTells, NothingIsLeftOutWhereAllIsThere)
{
    EXPECT_EQ(notCheckedIn(doctor({})), NotChecked());
}

TEST_F(DoctorTells, WhichPartsTheKindLeavesOut)
{
    EXPECT_EQ(notCheckedIn(doctor({"bmc"})),
              (NotChecked{
                  "host: not checked: only bmc was asked for",
                  "settings: not checked: only bmc was asked for",
                  "CPLD update manager: not checked: only bmc was asked for"}));
    EXPECT_EQ(notCheckedIn(doctor({"cpld"})),
              (NotChecked{
                  "security manager: not checked: only cpld was asked for",
                  "firmware information: not checked: only cpld was asked for",
                  "host: not checked: only cpld was asked for",
                  "settings: not checked: only cpld was asked for"}));
}

TEST_F(DoctorTells, WhatIsBehindABusThatCannotBeReached)
{
    const auto component =
        "paths of images: not checked: how many characters the name of a "
        "component takes of those, since no component is known";
    EXPECT_EQ(
        notCheckedIn(doctor({"--bus", "unix:path=/nonexistent"})),
        (NotChecked{
            "security manager: not checked: the bus cannot be reached",
            "firmware information: not checked: the bus cannot be reached",
            "host: not checked: the bus cannot be reached",
            "settings: not checked: the bus cannot be reached",
            "CPLD update manager: not checked: the bus cannot be reached",
            "flash units: not checked: the bus cannot be reached", component}));
}

TEST_F(DoctorTells, WhatAnAbsentServiceMayOffer)
{
    bmc.set("security", "absent");
    bmc.set("manager", "absent");
    EXPECT_EQ(notCheckedIn(doctor({"bmc"})),
              (NotChecked{
                  "security manager: not checked: what "
                  "xyz.openbmc_project.SecurityManager offers, since it is not "
                  "on the bus",
                  "host: not checked: only bmc was asked for",
                  "settings: not checked: only bmc was asked for",
                  "CPLD update manager: not checked: only bmc was asked for",
                  "flash units: not checked: what org.freedesktop.systemd1 "
                  "offers, since it is not on the bus"}));
}

TEST_F(DoctorTells, WhichObjectsARegistryHides)
{
    bmc.set("cpld-registry", "wrong-type");
    const auto found = notCheckedIn(doctor({"cpld"}));
    EXPECT_THAT(found,
                testing::Contains(
                    "CPLD update manager: not checked: the objects of the "
                    "CPLDs, since the registry cannot be read"));
}

TEST_F(DoctorTells, WhatIsBeingFlashed)
{
    bmc.set("flash", "hang");
    const auto image = images.bmc("1");
    const auto running = flash({"bmc", image});
    bmc.awaitFlash("bmc");

    auto path = image;
    std::ranges::replace(path, '/', '-');
    EXPECT_EQ(wrongIn(doctor({})),
              (Wrong{"warning: " + image +
                     R"( is being flashed, by obmc-flash-bmc-rot2@bmc_rot2)"
                     R"(\x20update\x20)" +
                     path + ".service"}));
    // A CPLD is flashed by the same template.
    EXPECT_EQ(wrongIn(doctor({"cpld"})), Wrong());
}

} // namespace
