// SPDX-License-Identifier: Apache-2.0
#include "../support/images.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The simulated CPLD update manager, asked as any client asks it.

using namespace test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

class CpldManager : public testing::Test
{
  protected:
    Completed registry() const
    {
        return bmc.call({"--timeout=1", service,
                         "/xyz/openbmc_project/cpld_update_mgr",
                         "xyz.openbmc_project.cpld_update_mgr."
                         "CpldUpdateMgrSvc",
                         "bindedDevices"});
    }

    Completed device(const std::vector<std::string>& words,
                     const std::string& component = "MB_CPLD") const
    {
        std::vector<std::string> command{
            "--timeout=1", service,
            "/xyz/openbmc_project/cpld_update_mgr/" + component,
            "xyz.openbmc_project.cpld_update_mgr.CpldDevice"};
        command.insert(command.end(), words.begin(), words.end());
        return bmc.call(command);
    }

    Completed verify(const std::string& path,
                     const std::string& component = "MB_CPLD") const
    {
        return device({"verifyCPLD", "s", path}, component);
    }

    Completed info(const std::string& path) const
    {
        return device({"readImageFileInfo", "s", path});
    }

    static Completed failed(const std::string& text)
    {
        return {1, "", "Call failed: " + text + "\n"};
    }

    /** What the registry tells of one device. */
    static std::string record(const std::string& path, const std::string& more)
    {
        return "\"MB_CPLD\" \"" + path + "\" \"jtag\" " + more;
    }

    static constexpr auto service = "xyz.openbmc_project.CpldUpdateMgrSvc";
    static constexpr auto mb = "/xyz/openbmc_project/cpld_update_mgr/MB_CPLD";
    static constexpr auto properties =
        "\"vendor\" s \"WEXA\" \"deviceId\" u 1 \"flashBytes\" t 8388608 "
        "\"temperatureLimit\" i 85 \"madeAt\" x 1710460800 \"removable\" b "
        "false \"supplyVolts\" d 3.3 \"inventory\" o "
        "\"/xyz/openbmc_project/inventory/MB_CPLD\" \"tags\" as 2 \"cpld\" "
        "\"jtag\"";
    const Completed yes{0, "b true\n", ""};
    const Completed no{0, "b false\n", ""};

    Simulation bmc{{"--manager", "builtin", "--set", "cpld-bound=MB_CPLD"}};
    Images images;
};

TEST_F(CpldManager, TellsDevicesDriversAndPropertiesOfManyTypes)
{
    EXPECT_EQ(registry(),
              (Completed{0,
                         "a{s(ssa{sv})} 1 " +
                             record(mb, std::string("9 ") + properties) + "\n",
                         ""}));
    EXPECT_EQ(device({"readMBVersionString"}),
              (Completed{0, "s \"1.0.3\"\n", ""}));
}

TEST_F(CpldManager, KeepsARegistryThatCanChange)
{
    bmc.set("cpld-bound", "FAN_CPLD,SCM_CPLD");
    EXPECT_THAT(registry().out, StartsWith("a{s(ssa{sv})} 2 \"FAN_CPLD\""));
    EXPECT_EQ(device({"readMBVersionString"}),
              failed("Unknown object '" + std::string(mb) + "'."));
    bmc.set("cpld-bound", "");
    EXPECT_EQ(registry(), (Completed{0, "a{s(ssa{sv})} 0\n", ""}));
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "cpld-bound", "MB_CPLD,PSU"}),
              (Completed{1, "",
                         "wexa-bmcsim: no CPLD 'PSU'; there are "
                         "MB_CPLD, SCM_CPLD and FAN_CPLD\n"}));
}

TEST_F(CpldManager, SignalsThatTheRegistryChanged)
{
    // It says on standard error that it has begun.
    Process monitor({"sh", "-c", "exec timeout 20 busctl \"$@\" 2>&1", "sh",
                     "--address=" + bmc.busAddress(), "monitor",
                     "--match=type='signal',"
                     "path='/xyz/openbmc_project/cpld_update_mgr'"},
                    bmc.environment());
    monitor.awaitOutput("Monitoring bus message stream.\n");
    bmc.set("cpld-bound", "FAN_CPLD");
    EXPECT_THAT(monitor.awaitOutput("Member=bindedDevicesChanged"),
                HasSubstr("Path=/xyz/openbmc_project/cpld_update_mgr"));
}

TEST_F(CpldManager, JudgesAnImageByKindDigestAndDevice)
{
    const auto make = [&](const std::vector<std::string>& more) {
        std::vector<std::string> options{"--version", "7", "--force"};
        options.insert(options.end(), more.begin(), more.end());
        return images.make("image", options);
    };
    EXPECT_EQ(verify(make({"--kind", "cpld", "--board", "1"})), yes);
    EXPECT_EQ(verify(make({"--kind", "cpld", "--board", "2"})), no);
    EXPECT_EQ(verify(make({"--kind", "bios", "--board", "1"})), no);
    EXPECT_EQ(
        verify(make({"--kind", "cpld", "--board", "1", "--broken", "digest"})),
        no);
    EXPECT_EQ(verify(images.missing()), no);
}

TEST_F(CpldManager, FindsTheSignedImageOfADirectory)
{
    EXPECT_EQ(verify(images.folder()), no);
    images.make("b_image_cpld_signed",
                {"--kind", "cpld", "--version", "7", "--board", "1"});
    EXPECT_EQ(verify(images.folder()), yes);
    images.make("a_image_cpld_signed",
                {"--kind", "cpld", "--version", "7", "--board", "2"});
    EXPECT_EQ(verify(images.folder()), no);
}

TEST_F(CpldManager, TellsWhatItKnowsOfAnImageFile)
{
    const auto image = images.make(
        "image", {"--kind", "cpld", "--version", "7.7", "--board", "2"});
    const auto known = "\"deviceId\" u 2 \"fileName\" s \"" + image + "\"";
    EXPECT_EQ(
        info(image),
        (Completed{0, "a{sv} 3 " + known + " \"versionString\" s \"7.7\"\n",
                   ""}));
    bmc.set("cpld-version", "missing");
    EXPECT_EQ(info(image), (Completed{0, "a{sv} 2 " + known + "\n", ""}));
    bmc.set("cpld-version", "empty");
    EXPECT_EQ(
        info(image),
        (Completed{0, "a{sv} 3 " + known + " \"versionString\" s \"\"\n", ""}));
    bmc.set("cpld-version", "wrong-type");
    EXPECT_EQ(
        info(image),
        (Completed{0, "a{sv} 3 " + known + " \"versionString\" u 1\n", ""}));
    EXPECT_EQ(info("/etc/passwd"), failed("/etc/passwd is no CPLD image"));
}

TEST_F(CpldManager, TellsARegistryThatIsWrongInTheWayItIsTold)
{
    const auto tells = [this](const char* how) {
        bmc.set("cpld-registry", how);
        return registry().out;
    };
    EXPECT_EQ(tells("wrong-type"), "s \"no registry\"\n");
    EXPECT_EQ(tells("missing-member"),
              "a{s(ss)} 1 \"MB_CPLD\" \"" + std::string(mb) + "\" \"jtag\"\n");
    EXPECT_EQ(tells("other-member"),
              "a{s(sua{sv})} 1 \"MB_CPLD\" \"" + std::string(mb) + "\" 1 0\n");
    EXPECT_EQ(tells("duplicate-property"),
              "a{s(ssa{sv})} 1 " +
                  record(mb, std::string("10 ") + properties +
                                 " \"vendor\" s \"second\"") +
                  "\n");
    EXPECT_EQ(tells("empty-path"),
              "a{s(ssa{sv})} 1 " + record("", std::string("9 ") + properties) +
                  "\n");
    EXPECT_EQ(tells("malformed-path"),
              "a{s(ssa{sv})} 1 " +
                  record("MB_CPLD", std::string("9 ") + properties) + "\n");
    const auto twice = tells("duplicate-component");
    EXPECT_THAT(twice, StartsWith("a{s(ssa{sv})} 2 " +
                                  record(mb, std::string("9 ") + properties)));
    EXPECT_THAT(twice, HasSubstr("\"MB_CPLD\" \"" + std::string(mb) +
                                 "\" \"second\" 9 "));
}

TEST_F(CpldManager, HasDevicesThatBehaveAsTheyAreTold)
{
    bmc.set("cpld-device", "absent");
    EXPECT_EQ(device({"readMBVersionString"}),
              failed("Unknown object '" + std::string(mb) + "'."));
    bmc.set("cpld-device", "error");
    EXPECT_EQ(device({"readMBVersionString"}),
              failed("the simulated service was told to fail"));
    EXPECT_EQ(registry().status, 0);
    bmc.set("cpld-device", "silent");
    EXPECT_EQ(device({"readMBVersionString"}), failed("Connection timed out"));
    EXPECT_EQ(registry().status, 0);
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "cpld-device", "odd"}),
              (Completed{1, "",
                         "wexa-bmcsim: no cpld-device 'odd'; there are "
                         "normal, absent, error and silent\n"}));
}

TEST_F(CpldManager, BehavesAsItIsTold)
{
    const auto image = images.make(
        "image", {"--kind", "cpld", "--version", "7", "--board", "1"});
    bmc.set("cpld", "refuse");
    EXPECT_EQ(verify(image), no);
    bmc.set("cpld", "error");
    EXPECT_EQ(registry(), failed("the simulated service was told to fail"));
    bmc.set("cpld", "wrong-type");
    EXPECT_EQ(registry(), (Completed{0, "u 0\n", ""}));
    EXPECT_EQ(verify(image), (Completed{0, "u 0\n", ""}));
    EXPECT_EQ(device({"readMBVersionString"}), (Completed{0, "u 0\n", ""}));
    bmc.set("cpld", "silent");
    EXPECT_EQ(registry(), failed("Connection timed out"));
    bmc.set("cpld", "absent");
    EXPECT_EQ(registry(), failed("The name " + std::string(service) +
                                 " was not provided by any .service files"));
    bmc.set("cpld", "normal");
    EXPECT_EQ(verify(image), yes);
}

} // namespace
