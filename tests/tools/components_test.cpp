// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

// What `wexa-fwmgr` says of components that are not as they should be.

using namespace test;

namespace
{

class Components : public ToolTest
{
  protected:
    Components()
    {
        bmc.set("cpld-bound", "MB_CPLD");
    }

    /** What is said of the version of the only component. */
    std::string versionLine() const
    {
        const auto done = fwmgr({"components"});
        EXPECT_EQ(done.status, 0) << done.err;
        return done.out.substr(0, done.out.find('\n'));
    }

    static Completed notListed(const std::string& line,
                               const std::string& error,
                               const std::string& call, const std::string& hint)
    {
        return refusal(callFailed, "the CPLD components cannot be listed",
                       {"reading the registry of the CPLDs",
                        {"ERROR !! Failed to prepare CPLD info: " + line},
                        error,
                        hint,
                        call});
    }

    std::string image = images.make(
        "cpld", {"--kind", "cpld", "--version", "7.7", "--board", "1"});
};

TEST_F(Components, SayWhyAVersionIsNotKnown)
{
    bmc.set("cpld-device", "error");
    EXPECT_EQ(
        versionLine(),
        "MB_CPLD             version not known: readMBVersionString fails "
        "(org.freedesktop.DBus.Error.Failed)");
    EXPECT_EQ(
        nlohmann::json::parse(
            fwmgr({"components", "--json"})
                .out)["result"]["components"]["MB_CPLD"]["version_unknown"],
        "readMBVersionString fails (org.freedesktop.DBus.Error.Failed)");
    bmc.set("cpld-device", "absent");
    EXPECT_EQ(
        versionLine(),
        "MB_CPLD             version not known: readMBVersionString fails "
        "(org.freedesktop.DBus.Error.UnknownObject)");
    bmc.set("cpld-registry", "empty-path");
    EXPECT_EQ(versionLine(),
              "MB_CPLD             version not known: the registry tells no "
              "object path");
}

TEST_F(Components, AreNotListedWhereTheRegistryIsOfAnotherType)
{
    const std::map<std::string, std::string> answers{
        {"wrong-type", "'s' (\"no registry\")"},
        {"missing-member", "'a{s(ss)}'"},
        {"other-member", "'a{s(sua{sv})}'"}};
    for (const auto& [registry, answer] : answers)
    {
        bmc.set("cpld-registry", registry);
        const auto difference =
            "is of type " + answer + ", where 'a{s(ssa{sv})}' is expected";
        EXPECT_EQ(
            fwmgr({"components"}),
            notListed("sd_bus_message_enter_container emplace_container: "
                      "System.Error.ENXIO: No such device or address",
                      "System.Error.ENXIO",
                      "bindedDevices of xyz.openbmc_project.CpldUpdateMgrSvc: "
                      "the answer " +
                          difference,
                      anotherType));
        EXPECT_EQ(fwmgr({"verify", "cpld", image, "--component", "MB_CPLD"}),
                  refusal(callFailed, "the CPLD components cannot be listed",
                          {"reading the registry of the CPLDs",
                           {},
                           "",
                           "the registry " + difference +
                               ": update the CPLD update manager"}));
    }
}

TEST_F(Components, AreNotListedWhereAPathIsNotAnObjectPath)
{
    const auto hint = "the registry tells 'MB_CPLD' as the path of MB_CPLD, "
                      "which is not an object path: update the CPLD update "
                      "manager";
    bmc.set("cpld-registry", "malformed-path");
    EXPECT_EQ(fwmgr({"components"}),
              notListed("sd_bus_message_new_method_call: "
                        "org.freedesktop.DBus.Error.InvalidArgs: "
                        "Invalid argument",
                        "org.freedesktop.DBus.Error.InvalidArgs", "", hint));
    EXPECT_EQ(fwmgr({"verify", "cpld", image, "--component", "MB_CPLD"}),
              refusal(callFailed, "CPLD component 'MB_CPLD' cannot be called",
                      {"looking the component up", {}, "", hint}));
}

TEST_F(Components, CannotBeCalledWithoutAPath)
{
    bmc.set("cpld-registry", "empty-path");
    EXPECT_EQ(fwmgr({"verify", "cpld", image, "--component", "MB_CPLD"}),
              refusal(callFailed, "CPLD component 'MB_CPLD' cannot be called",
                      {"looking the component up",
                       {},
                       "",
                       "the registry tells no object path of MB_CPLD: update "
                       "the CPLD update manager"}));
}

TEST_F(Components, AreNotListedWithoutTheirManager)
{
    bmc.set("cpld", "absent");
    EXPECT_EQ(fwmgr({"components"}),
              notListed("sd_bus_call: "
                        "org.freedesktop.DBus.Error.ServiceUnknown: The "
                        "name xyz.openbmc_project.CpldUpdateMgrSvc was not "
                        "provided by any .service files",
                        serviceUnknown, "", startIt));
    EXPECT_EQ(fwmgr({"verify", "cpld", image, "--component", "MB_CPLD"}),
              refusal(callFailed, "the CPLD components cannot be listed",
                      {"reading the registry of the CPLDs",
                       {},
                       serviceUnknown,
                       startIt,
                       "bindedDevices of xyz.openbmc_project.CpldUpdateMgrSvc: "
                       "failed"}));
}

TEST_F(Components, AreNamedWhereAnotherIsAskedFor)
{
    bmc.set("cpld-bound", "MB_CPLD,SCM_CPLD");
    for (const auto* verb : {"upload", "verify", "update"})
    {
        EXPECT_EQ(fwmgr({verb, "cpld", image, "--component", "mb_cpld"}),
                  refusal(wrongUsage,
                          "the board has no CPLD component 'mb_cpld'",
                          "name one of these: MB_CPLD, SCM_CPLD"));
    }
}

/** A silent device must not hold up who asks for another. */
TEST_F(Components, AreLookedUpWithoutAskingTheirDevices)
{
    EXPECT_EQ(fwmgr({"verify", "cpld", image, "--component", "MB_CPLD"}).status,
              0);
    EXPECT_EQ(bmc.calls("cpld"),
              (Calls{{"bindedDevices", 2}, {"verifyCPLD", 1}}));
}

} // namespace
