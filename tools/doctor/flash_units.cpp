// SPDX-License-Identifier: Apache-2.0
#include "../common/kind.hpp"
#include "../common/loaded_unit.hpp"
#include "../common/systemd.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"
#include "remote_object.hpp"

#include <sdbusplus/exception.hpp>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <tuple>

namespace
{

using Condition = LoadedUnit::Condition;
using Command = LoadedUnit::Command;

using ExitStatusSet = LoadedUnit::ExitStatusSet;

/** Any path will do: only the template is looked at. */
constexpr auto samplePath = "/doctor/image";

/** Looks at one template. */
class TemplateCheck
{
  public:
    TemplateCheck(Findings& findings, const LoadedUnit& unit, std::string name,
                  std::string systemctl) :
        findings(findings), unit(unit), name(std::move(name)),
        systemctl(std::move(systemctl))
    {}

    void run()
    {
        const auto before = bad();
        if (!isLoaded())
        {
            return;
        }
        checkType();
        checkConditions();
        checkCommands();
        checkSuccess();
        checkTimeOut();
        if (bad() == before)
        {
            findings.ok(name + " is installed and honest");
        }
    }

  private:
    std::size_t bad() const
    {
        return findings.count(Level::failure) + findings.count(Level::warning);
    }

    bool isLoaded()
    {
        const auto state = unit.get<std::string>("LoadState");
        if (state == "loaded")
        {
            return true;
        }
        if (state == "masked")
        {
            findings.failure(name + " is masked: nothing can be flashed",
                             systemctl + " unmask '" + name + "'");
        }
        else
        {
            findings.failure(name + " is not installed or has errors (" +
                                 state + "): nothing can be flashed",
                             "install the template; see systemd-analyze "
                             "verify");
        }
        return false;
    }

    void checkType()
    {
        if (const auto type = unit.get<std::string>("Type"); type != "oneshot")
        {
            findings.failure(name + " is of type " + type +
                                 ": systemd calls its job done before the "
                                 "flash has ended",
                             "make it Type=oneshot");
        }
        if (unit.get<bool>("RemainAfterExit"))
        {
            findings.failure(name + " remains after exit: the same image is "
                                    "not flashed a second time, though its "
                                    "job is done",
                             "take RemainAfterExit out");
        }
    }

    void checkConditions()
    {
        if (!unit.get<std::vector<Condition>>("Conditions").empty() ||
            !unit.get<std::vector<Command>>("ExecCondition").empty())
        {
            findings.failure(name + " has conditions: where one does not "
                                    "hold, systemd calls the job done though "
                                    "nothing was flashed",
                             "take the conditions out; an assertion is "
                             "honest");
        }
    }

    void checkCommands()
    {
        const auto commands = unit.get<std::vector<Command>>("ExecStart");
        if (commands.empty())
        {
            findings.failure(name + " runs nothing",
                             "give it an ExecStart that flashes");
        }
        for (const auto* const property :
             {"ExecCondition", "ExecStartPre", "ExecStart", "ExecStartPost"})
        {
            for (const auto& command : unit.get<std::vector<Command>>(property))
            {
                checkExecutable(std::get<0>(command));
            }
        }
        checkIgnoredFailures();
        if (!commands.empty() && !isGivenThePath(commands))
        {
            findings.warning(name + " does not give its program the path of "
                                    "the image",
                             "pass \"%I\", which has each \"-\" of the "
                             "instance turned back into \"/\"");
        }
    }

    void checkIgnoredFailures()
    {
        const auto advice = "take the \"-\" before the command away";
        for (const auto& program : ignoredOf("ExecStart"))
        {
            findings.failure(name + " ignores a failure of " + program +
                                 ": systemd calls a failed flash done",
                             advice);
        }
        for (const auto& [property, when] :
             {std::pair("ExecStartPre", "before"),
              std::pair("ExecStartPost", "after")})
        {
            for (const auto& program : ignoredOf(property))
            {
                findings.warning(name + " ignores a failure of " + program +
                                     ", which runs " + when +
                                     " the flash: systemd calls the flash "
                                     "done, and update calls it failed",
                                 advice);
            }
        }
    }

    /** The programs whose failure does not count. */
    std::vector<std::string> ignoredOf(const std::string& property) const
    {
        std::vector<std::string> programs;
        for (const auto& command : unit.get<std::vector<Command>>(property))
        {
            if (std::get<2>(command))
            {
                programs.push_back(std::get<0>(command));
            }
        }
        return programs;
    }

    void checkExecutable(const std::string& program)
    {
        if (!std::ranges::any_of(placesOf(program), [](const auto& place) {
                return access(place.c_str(), X_OK) == 0;
            }))
        {
            findings.failure(program + ", which " + name +
                                 " runs, cannot be executed",
                             "install it");
        }
    }

    /** Where systemd looks for a program. */
    std::vector<std::string> placesOf(const std::string& program) const
    {
        if (program.find('/') != std::string::npos)
        {
            return {program};
        }
        auto places = unit.get<std::vector<std::string>>("ExecSearchPath");
        if (places.empty())
        {
            // Not the PATH of this tool.
            places = {"/usr/local/sbin", "/usr/local/bin", "/usr/sbin",
                      "/usr/bin",        "/sbin",          "/bin"};
        }
        for (auto& place : places)
        {
            place += '/' + program;
        }
        return places;
    }

    static bool isGivenThePath(const std::vector<Command>& commands)
    {
        return std::ranges::any_of(commands, [](const auto& command) {
            return std::ranges::any_of(
                std::get<1>(command), [](const auto& argument) {
                    return argument.find(samplePath) != std::string::npos;
                });
        });
    }

    void checkSuccess()
    {
        const auto [statuses, signals] =
            unit.get<ExitStatusSet>("SuccessExitStatus");
        if (!statuses.empty() || !signals.empty())
        {
            findings.failure(name + " counts exit statuses besides 0 as "
                                    "success",
                             "take SuccessExitStatus out");
        }
    }

    void checkTimeOut()
    {
        if (unit.get<uint64_t>("TimeoutStartUSec") ==
            std::numeric_limits<uint64_t>::max())
        {
            findings.warning(name + " has no time-out: a flash that hangs "
                                    "never ends",
                             "set TimeoutStartSec");
        }
    }

    Findings& findings;
    const LoadedUnit& unit;
    std::string name;
    std::string systemctl;
};

void checkTemplate(Findings& findings, sdbusplus::bus_t& bus, const Kind& kind,
                   const std::string& systemctl)
{
    const auto component = kind.hasComponents ? "CPLD" : "";
    try
    {
        const LoadedUnit unit(bus,
                              flashUnitName(kind.name, component, samplePath));
        TemplateCheck(findings, unit, kind.unitPrefix + ".service", systemctl)
            .run();
    }
    catch (const sdbusplus::exception_t& error)
    {
        findings.failure("systemd tells nothing of " + kind.unitPrefix +
                             ".service (" + error.name() + ")",
                         "look at what the service itself logged");
    }
}

} // namespace

void checkFlashUnits(Findings& findings, sdbusplus::bus_t& bus,
                     const Kinds& kinds, const std::string& systemctl)
{
    const Need need{Level::failure, "nothing can be flashed"};
    if (!isOnTheBus(findings, bus, systemd::service, need))
    {
        return;
    }
    const auto offered =
        offeredBy(findings, bus, systemd::service, systemd::path,
                  systemd::managerInterface, need);
    checkRunningFlashes(findings, bus, kinds);
    if (!offered)
    {
        findings.notChecked("the templates of the flash units, since it is "
                            "not known what systemd offers");
        return;
    }
    checkMethod(findings, *offered, "StartUnit", need);
    std::set<std::string> looked;
    for (const auto& kind : allKinds())
    {
        if (kinds.contains(kind.name) && looked.insert(kind.unitPrefix).second)
        {
            checkTemplate(findings, bus, kind, systemctl);
        }
    }
}
