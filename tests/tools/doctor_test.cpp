// SPDX-License-Identifier: Apache-2.0
#include "../support/temporary_directory.hpp"
#include "doctor_findings.hpp"
#include "tool_test.hpp"

#include <filesystem>

// The doctor finds further faults, shows what to do, and changes nothing.

using namespace test;

namespace
{

class Doctor : public ToolTest
{
  protected:
    Wrong wrongWith(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{"doctor", "--json"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return wrongIn(fwmgr(command).out);
    }
};

TEST_F(Doctor, ShowsATableAndWhatToDo)
{
    bmc.set("host", "absent");
    const auto done = fwmgr({"doctor", "bios"});
    EXPECT_EQ(done.status, notReady);
    EXPECT_EQ(
        done.out,
        "libraries\n"
        "  OK       libwexa_fwmgr_internal.so.0 can be loaded\n"
        "  OK       libwexacore.so.0 can be loaded\n"
        "  OK       get_bios_version_from_image\n"
        "  OK       get_bios_board_id\n"
        "  OK       check_bios_seamless_capsule\n"
        "  OK       get_capsule_version_from_image\n"
        "bus\n"
        "  OK       system can be reached\n"
        "security manager\n"
        "  OK       xyz.openbmc_project.SecurityManager is on the bus\n"
        "  OK       verifyBios(s) -> (b)\n"
        "  OK       verifyCapsule(s) -> (b)\n"
        "firmware information\n"
        "  OK       xyz.openbmc_project.FwInfoManager is on the bus\n"
        "  OK       stagingBIOS, writable, of type s\n"
        "  OK       stagingCapsuleMCU, writable, of type s\n"
        "host\n"
        "  FAILURE  com.WEXA.Host is not on the bus: no BIOS image can be "
        "uploaded, since its board cannot be compared with this one\n"
        "           -> install or start the service\n"
        "  SKIPPED  not checked: what com.WEXA.Host offers, since it is "
        "not on the bus\n"
        "settings\n"
        "  OK       xyz.openbmc_project.Settings is on the bus\n"
        "  OK       the requested apply time is Immediate\n"
        "CPLD update manager\n"
        "  SKIPPED  not checked: only bios was asked for\n"
        "flash units\n"
        "  OK       org.freedesktop.systemd1 is on the bus\n"
        "  OK       nothing is being flashed\n"
        "  OK       StartUnit(ss) -> (o)\n"
        "  OK       obmc-flash-host-bios@.service is installed and "
        "honest\n"
        "paths of images\n"
        "  OK       bios: up to 203 characters of letters, digits, "
        "\"/\", \":\", \"_\", \".\" and \"@\"\n");
    EXPECT_EQ(done.err, "wexa-fwmgr: the board is not ready: 1 failure, 0 "
                        "warnings\n");
}

TEST_F(Doctor, LooksOnlyAtWhatAKindOfFirmwareNeeds)
{
    for (const auto* service : {"security", "fwinfo", "host", "settings"})
    {
        bmc.set(service, "absent");
    }
    EXPECT_EQ(wrongWith({"cpld"}), Wrong());
    EXPECT_EQ(wrongWith({"bmc"}).size(), 2);
    EXPECT_EQ(wrongWith({"bios"}).size(), 4);
}

TEST_F(Doctor, ChangesNothingAndAsksNothingThatCould)
{
    const auto before = bmc.state();
    EXPECT_EQ(fwmgr({"doctor"}).status, 0);
    auto after = bmc.state();
    EXPECT_EQ(bmc.calls("security"), Calls());
    EXPECT_EQ(bmc.calls("fwinfo"), Calls());
    EXPECT_EQ(bmc.calls("host"), (Calls{{"Get", 1}}));
    EXPECT_EQ(bmc.calls("settings"), (Calls{{"Get", 1}}));
    EXPECT_EQ(bmc.calls("cpld"),
              (Calls{{"bindedDevices", 1}, {"readMBVersionString", 3}}));
    for (const auto* service : {"host", "settings", "cpld"})
    {
        for (const auto* key : {"calls", "last"})
        {
            after["services"][service][key] = before["services"][service][key];
        }
    }
    EXPECT_EQ(after, before);
}

TEST_F(Doctor, FindsADeviceThatDoesNotTellItsVersion)
{
    bmc.set("cpld-bound", "MB_CPLD");
    bmc.set("cpld-device", "error");
    EXPECT_EQ(wrongWith({"cpld"}),
              (Wrong{"warning: readMBVersionString fails "
                     "(org.freedesktop.DBus.Error.Failed): the version that it "
                     "runs cannot be shown"}));
}

TEST_F(Doctor, FindsFurtherFaultsOfServices)
{
    bmc.set("host", "error");
    bmc.set("settings", "wrong-type");
    bmc.set("fwinfo", "wrong-type");
    bmc.set("cpld-registry", "empty-path");
    bmc.set("cpld-bound", "MB_CPLD");
    EXPECT_EQ(wrongWith({}),
              (Wrong{
                  "failure: the property stagingBMC is of type u: no BMC image "
                  "can be uploaded",
                  "failure: the property stagingBIOS is of type u: no BIOS "
                  "image can be uploaded",
                  "failure: the property stagingCapsuleMCU is of type u: no "
                  "BIOS capsule can be uploaded",
                  "failure: BoardId cannot be read "
                  "(org.freedesktop.DBus.Error.Failed): no BIOS image can "
                  "be uploaded, since its board cannot be compared with this "
                  "one",
                  "warning: the property RequestedApplyTime is of type u: "
                  "uploads of BIOS images tell no apply time",
                  "failure: the registry tells no object path of MB_CPLD: its "
                  "version is not known, and it cannot be verified",
              }));
    bmc.set("cpld", "error");
    EXPECT_EQ(wrongWith({"cpld"}),
              (Wrong{"failure: bindedDevices fails "
                     "(org.freedesktop.DBus.Error.Failed): no CPLD can be "
                     "listed, verified or updated"}));
}

/** A flash unit that is not honest, or that does not work. */
struct Template
{
    std::string name;
    std::string service;
    Wrong wrong;
};

void PrintTo(const Template& unit, std::ostream* stream)
{
    *stream << unit.name;
}

class DoctorSeesThrough :
    public Doctor,
    public testing::WithParamInterface<Template>
{};

TEST_P(DoctorSeesThrough, AUnit)
{
    bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n" +
                         GetParam().service);
    EXPECT_EQ(wrongWith({"bmc"}), GetParam().wrong);
}

constexpr auto honest = "Type=oneshot\nTimeoutStartSec=60\n";

/** About the template of BMC images. */
Wrong says(const std::string& level, const std::string& what)
{
    return {level + ": obmc-flash-bmc-rot2@.service " + what};
}

INSTANTIATE_TEST_SUITE_P(
    Units, DoctorSeesThrough,
    testing::Values(
        Template{"ThatRemainsAfterExit",
                 std::string(honest) +
                     "RemainAfterExit=yes\nExecStart=/bin/true \"%I\"\n",
                 says("failure", "remains after exit: the same image is not "
                                 "flashed a second time, though its job is "
                                 "done")},
        Template{"WithAnExecCondition",
                 std::string(honest) +
                     "ExecCondition=/bin/true\nExecStart=/bin/true \"%I\"\n",
                 says("failure", "has conditions: where one does not hold, "
                                 "systemd calls the job done though nothing "
                                 "was flashed")},
        Template{"ThatCallsOtherStatusesSuccess",
                 std::string(honest) +
                     "SuccessExitStatus=7\nExecStart=/bin/true \"%I\"\n",
                 says("failure", "counts exit statuses besides 0 as success")},
        Template{"WhoseProgramIsMissing",
                 std::string(honest) + "ExecStart=/nonexistent/flash \"%I\"\n",
                 {"failure: /nonexistent/flash, which "
                  "obmc-flash-bmc-rot2@.service runs, cannot be executed"}},
        Template{"WhoseProgramIsNamedWithoutItsPath",
                 std::string(honest) + "ExecStart=true \"%I\"\n",
                 {}},
        Template{"WhoseProgramSystemdFindsNowhere",
                 std::string(honest) + "ExecStart=flash-nowhere \"%I\"\n",
                 {"failure: flash-nowhere, which "
                  "obmc-flash-bmc-rot2@.service runs, cannot be executed"}},
        Template{"WithASearchPathOfItsOwn",
                 std::string(honest) +
                     "ExecSearchPath=/lib/systemd\nExecStart=true \"%I\"\n"
                     "ExecStartPost=systemd-sysctl\n",
                 {"failure: true, which obmc-flash-bmc-rot2@.service runs, "
                  "cannot be executed"}},
        Template{"WhoseOtherProgramsAreMissing",
                 std::string(honest) + "ExecCondition=/nonexistent/condition\n"
                                       "ExecStartPre=/nonexistent/before\n"
                                       "ExecStart=/bin/true \"%I\"\n"
                                       "ExecStartPost=/nonexistent/after\n",
                 {says("failure", "has conditions: where one does not hold, "
                                  "systemd calls the job done though nothing "
                                  "was flashed")
                      .front(),
                  "failure: /nonexistent/condition, which "
                  "obmc-flash-bmc-rot2@.service runs, cannot be executed",
                  "failure: /nonexistent/before, which "
                  "obmc-flash-bmc-rot2@.service runs, cannot be executed",
                  "failure: /nonexistent/after, which "
                  "obmc-flash-bmc-rot2@.service runs, cannot be executed"}},
        Template{"ThatIgnoresFailuresBeforeAndAfterTheFlash",
                 std::string(honest) +
                     "ExecStartPre=-/bin/echo\nExecStart=/bin/true \"%I\"\n"
                     "ExecStart=-/bin/false\nExecStartPost=-/bin/rm \"%I\"\n",
                 {says("failure", "ignores a failure of /bin/false: systemd "
                                  "calls a failed flash done")
                      .front(),
                  says("warning",
                       "ignores a failure of /bin/echo, which runs before the "
                       "flash: systemd calls the flash done, and update calls "
                       "it failed")
                      .front(),
                  says("warning",
                       "ignores a failure of /bin/rm, which runs after the "
                       "flash: systemd calls the flash done, and update calls "
                       "it failed")
                      .front()}},
        Template{"ThatKeepsThePathToItself",
                 std::string(honest) + "ExecStart=/bin/true \"%i\"\n",
                 says("warning", "does not give its program the path of the "
                                 "image")},
        Template{"ThatRunsNothing",
                 std::string(honest) +
                     "RemainAfterExit=yes\nExecStop=/bin/true\n",
                 {says("failure", "remains after exit: the same image is not "
                                  "flashed a second time, though its job is "
                                  "done")
                      .front(),
                  says("failure", "runs nothing").front()}},
        Template{"ThatSystemdCannotLoad", "Type=oneshot\n",
                 says("failure", "is not installed or has errors "
                                 "(bad-setting): nothing can be flashed")}),
    [](const auto& row) { return row.param.name; });

TEST_F(Doctor, LooksAtADirectoryOfImages)
{
    const TemporaryDirectory directory;
    const auto here = directory.path().string();
    EXPECT_EQ(wrongWith({"bmc", "--images", here}), Wrong());
    EXPECT_EQ(wrongWith({"bmc", "--images", here + "/none"}),
              (Wrong{"failure: " + here +
                     "/none is not a directory that can be read"}));
    std::filesystem::create_directory(here + "/a-b");
    EXPECT_EQ(wrongWith({"bmc", "--images", here + "/a-b"}),
              (Wrong{"failure: " + here +
                     "/a-b: the flash unit would read each \"-\" as \"/\""}));
    const auto deep = here + "/" + std::string(200, 'x');
    std::filesystem::create_directory(deep);
    EXPECT_EQ(
        wrongWith({"bmc", "--images", deep}),
        (Wrong{"failure: " + deep + " is too long a path to keep images in"}));
}

} // namespace
