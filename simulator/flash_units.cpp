// SPDX-License-Identifier: Apache-2.0
#include "flash_units.hpp"

#include "child.hpp"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace bmcsim
{

const std::vector<std::string>& flashTemplates()
{
    static const std::vector<std::string> names{
        "obmc-flash-bmc-rot2@.service",
        "obmc-flash-host-bios@.service",
    };
    return names;
}

UnitName::UnitName(const std::string& unit)
{
    const auto at = unit.find('@');
    const auto dot = unit.rfind('.');
    if (at != std::string::npos && dot != std::string::npos && at < dot)
    {
        unitTemplate = unit.substr(0, at + 1) + unit.substr(dot);
        instance = unit.substr(at + 1, dot - at - 1);
    }
}

/** A word of a command line in a unit file. */
static std::string quotedWord(std::string_view word)
{
    std::string text = "\"";
    for (const auto character : word)
    {
        if (character == '"' || character == '\\')
        {
            text += '\\';
        }
        text += character;
        if (character == '%' || character == '$')
        {
            text += character;
        }
    }
    return text + '"';
}

static void replaceFile(const std::filesystem::path& file,
                        const std::string& text)
{
    std::filesystem::remove(file);
    std::ofstream(file) << text;
}

static void writeTemplate(const PrivateDirectory& directory,
                          const std::string& name,
                          const FlashSettings& settings)
{
    std::string line;
    for (const auto& word :
         {ownProgram(), std::string("write-flash"), directory.path().string()})
    {
        line += quotedWord(word) + ' ';
    }
    const auto log = "append:" + directory.log("flash");
    const auto is = [&](const char* sort) { return settings.unit == sort; };
    replaceFile(
        directory.units() / name,
        std::string("[Unit]\n"
                    "Description=Flash of %I\n"
                    "DefaultDependencies=no\n") +
            (is("condition") ? "ConditionPathExists=/nonexistent\n" : "") +
            "[Service]\n"
            "Type=" +
            (is("simple") ? "simple" : "oneshot") +
            "\nExecStart=" + (is("ignored-failure") ? "-" : "") + line +
            "\"%I\"\n"
            "TimeoutStartSec=" +
            (is("no-timeout")
                 ? "infinity"
                 : std::to_string(settings.timeout.count()) + "ms") +
            "\n"
            "TimeoutStopSec=2s\n"
            "Environment=WEXA_BMCSIM_MOUNTS=leave\n"
            "StandardOutput=" +
            log + "\nStandardError=" + log + '\n');
}

void writeUnits(const PrivateDirectory& directory,
                const FlashSettings& settings)
{
    for (const auto& name : flashTemplates())
    {
        writeTemplate(directory, name, settings);
    }
    // systemd joins the bus only when it takes its own units for the bus's:
    // these hold the place of the dbus-daemon that runs beside it.
    replaceFile(directory.units() / "default.target",
                "[Unit]\n"
                "Description=The simulated BMC\n"
                "DefaultDependencies=no\n"
                "Wants=dbus.service\n");
    replaceFile(directory.units() / "dbus.socket",
                "[Unit]\n"
                "DefaultDependencies=no\n"
                "[Socket]\n"
                "ListenStream=%t/placeholder\n");
    replaceFile(directory.units() / "dbus.service",
                "[Unit]\n"
                "DefaultDependencies=no\n"
                "Requires=dbus.socket\n"
                "[Service]\n"
                "ExecStart=/bin/sleep infinity\n");
}

void removeTemplates(const PrivateDirectory& directory)
{
    for (const auto& name : flashTemplates())
    {
        std::filesystem::remove(directory.units() / name);
    }
}

void maskTemplates(const PrivateDirectory& directory)
{
    removeTemplates(directory);
    for (const auto& name : flashTemplates())
    {
        std::filesystem::create_symlink("/dev/null", directory.units() / name);
    }
}

} // namespace bmcsim
