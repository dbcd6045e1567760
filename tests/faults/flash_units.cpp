// SPDX-License-Identifier: Apache-2.0
#include "flash_units.hpp"

namespace test
{

namespace
{

std::string unitText(const std::string& unit, const std::string& service)
{
    return "[Unit]\nDefaultDependencies=no\n" + unit + "\n[Service]\n" +
           service + '\n';
}

} // namespace

std::string oneshot(const std::string& service, const std::string& unit)
{
    return unitText(unit, "Type=oneshot\n" + service);
}

std::vector<Flash> flashes()
{
    const std::string flash = "ExecStart=/bin/touch {}";
    const std::string slowly =
        "TimeoutStartSec=60\n"
        "ExecStart=/bin/sh -c 'file={}; until [ -e $$file.now ]; "
        "do sleep 0.01; done; touch $$file'";
    const std::string notValid = "org.freedesktop.DBus.Error.InvalidArgs: "
                                 "Unit name {} is not valid.";
    return {
        {"ThatSucceeds", oneshot(flash), {"done"}, true},
        {"ThatFails", oneshot("ExecStart=/bin/false\n" + flash), {"failed"}},
        {"ThatIsKilled",
         oneshot("ExecStart=/bin/sh -c 'kill -KILL $$$$'\n" + flash),
         {"failed"}},
        {"ThatIsNotInTime",
         oneshot("TimeoutStartSec=200ms\nExecStart=/bin/sleep 60\n" + flash),
         {"failed"}},
        {"OfAMissingProgram", oneshot("ExecStart=/nowhere"), {"failed"}},
        {"WhoseConditionIsFalse",
         oneshot(flash, "ConditionPathExists=/nowhere"),
         {"done"}},
        {"WhoseExecConditionIsFalse",
         oneshot("ExecCondition=/bin/false\n" + flash),
         {"done"}},
        {"OfASimpleServiceWithoutItsProgram",
         unitText("", "Type=simple\nExecStart=/nowhere"),
         {"done"}},
        {"WhoseFailureIsIgnored", oneshot("ExecStart=-/bin/false"), {"done"}},
        {"WhoseAssertionIsFalse",
         oneshot(flash, "AssertPathExists=/nowhere"),
         {"assert"}},
        {"WhoseRequirementFails",
         oneshot(flash, "Requires=broken.service\nAfter=broken.service"),
         {"dependency"}},
        {"ThatIsStopped",
         oneshot("ExecStart=/bin/sleep 60\n" + flash),
         {"canceled", "done"},
         false,
         Meanwhile::stop},
        {"ThatIsStartedAgain",
         oneshot(slowly),
         {"done"},
         true,
         Meanwhile::startAgain},
        {"DuringAReload", oneshot(slowly), {"done"}, true, Meanwhile::reload},
        {.name = "WithoutATemplate",
         .unit = "",
         .results = {},
         .refusal = "org.freedesktop.systemd1.NoSuchUnit: Unit {} not found."},
        {.name = "ThatIsMasked",
         .unit = oneshot(flash),
         .results = {},
         .refusal = "org.freedesktop.systemd1.UnitMasked: Unit {} is masked.",
         .isMasked = true},
        {.name = "OfAPathWithABlank",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/an image"},
        {.name = "OfAPathOfOtherLetters",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/\xc3\xa4"},
        {.name = "OfALongPath",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/" + std::string(250, 'x')},
        {.name = "OfAPathThatIsNotUtf8",
         .unit = oneshot(flash),
         .results = {},
         .refusal = "org.freedesktop.DBus.Error.InvalidArgs: Invalid "
                    "arguments 's' to call org.freedesktop.systemd1.Manager."
                    "StartUnit(), expecting 'ss'.",
         .imagePath = "/tmp/\xff"},
    };
}

} // namespace test
