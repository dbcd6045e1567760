// SPDX-License-Identifier: Apache-2.0
#include "command_line.hpp"

#include "common/failure.hpp"
#include "common/kind.hpp"

#include <getopt.h>
#include <plain.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iostream>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace
{

void require(bool holds, const std::string& otherwise,
             const std::string& hint = "see wexa-fwmgr --help")
{
    if (!holds)
    {
        throw Failure(ExitStatus::wrongUsage, otherwise, hint);
    }
}

constexpr auto unexpected = "The following argument was not expected: ";

std::string kinds(const char* between)
{
    std::string text;
    for (const auto& kind : allKinds())
    {
        text += (text.empty() ? "" : between) + kind.name;
    }
    return text;
}

struct Task
{
    const char* verb;
    const char* help;
    const char* example;
    Verb carryOut;
};

constexpr Task tasks[] = {
    {"upload", "Have an image read, verified and recorded as staged",
     "bmc /tmp/image", upload},
    {"verify", "Have the security manager or the CPLD judge an image",
     "bios /tmp/image", verify},
    {"update", "Have an image verified, flash it and wait for the end",
     "cpld /tmp/image --component MB_CPLD", update},
    {"components",
     "List the CPLD components, what they run and their properties", "--json",
     listComponents},
    {"monitor", "Show finished flashes and CPLD notifications until stopped",
     "--verbose", monitor},
    {"doctor", "Look whether the board has all that updates need",
     "bmc --images /run/images", examineBoard},
};

constexpr std::span<const Verb> all;
constexpr Verb withImage[] = {upload, verify, update};
constexpr Verb toUpdate[] = {update};
constexpr Verb toDoctor[] = {examineBoard};

template <auto member>
void set(Request& request, const std::string& value)
{
    request.*member = value;
}

template <auto member, bool value>
void set(Request& request, const std::string& /*none*/)
{
    request.*member = value;
}

void setKind(Request& request, const std::string& kind)
{
    require(std::ranges::count(allKinds(), kind, &Kind::name),
            "KIND: " + kind + " not in {" + kinds(",") + "}");
    request.kind = kind;
}

void setTimeout(Request& request, const std::string& text)
{
    auto seconds = 0U;
    const auto* const end = text.data() + text.size();
    require(std::from_chars(text.data(), end, seconds).ptr == end &&
                seconds >= 1 && seconds <= 86400,
            "--timeout: Value " + text + " not in range 1 to 86400");
    request.timeout = std::chrono::seconds(seconds);
}

/** An option, or a word at its place. */
struct Argument
{
    /** A word that may be left out has it in brackets. */
    const char* name;
    /** Names what has to follow an option; empty for a flag. */
    const char* value;
    const char* help;
    /** Empty where all take it. */
    std::span<const Verb> verbs;
    /** Nothing for what is shown instead of a verb's work. */
    void (*set)(Request&, const std::string& value);
    /** Whether it excludes the others that exclude. */
    bool excludes = false;

    bool isOf(const Task* task) const
    {
        return task ? std::ranges::count(verbs, task->carryOut) != 0
                    : verbs.empty();
    }
};

constexpr Argument arguments[] = {
    {"KIND", "", "Kind of firmware: ", withImage, setKind},
    {"[KIND]", "", "Only what this kind of firmware needs: ", toDoctor,
     setKind},
    {"IMAGE", "", "Path of the image file", withImage, set<&Request::image>},
    {"--help",
     "",
     "Print the help, of the verb where one is named; so does -h",
     all,
     {}},
    {"--version", "", "Print the version", all, {}},
    {"--bus", "ADDRESS", "Address of the bus, or system, which is the default",
     all, set<&Request::bus>},
    {"--json", "", "Print one JSON value on standard output, also on failure",
     all, set<&Request::json, true>},
    {"--trace", "", "Show each D-Bus call and its time on standard error", all,
     set<&Request::trace, true>},
    {"--verbose", "", "Show the library's own log lines on standard error", all,
     set<&Request::verbose, true>},
    {"--component", "NAME", "Component of the board that a CPLD image is for",
     withImage, set<&Request::component>},
    {"--dry-run", "", "Show the unit that would be started; do nothing",
     toUpdate, set<&Request::dryRun, true>, true},
    {"--no-verify", "", "Flash without verification, even if not authentic",
     toUpdate, set<&Request::verify, false>},
    {"--no-wait", "", "End when the flash is started", toUpdate,
     set<&Request::wait, false>, true},
    {"--timeout", "SECONDS",
     "Wait so long for the end, 1 to 86400; 600 unless given", toUpdate,
     setTimeout, true},
    {"--daemon", "PROGRAM", "Look whether this daemon fits the library, too",
     toDoctor, set<&Request::daemon>},
    {"--images", "DIRECTORY", "Look at this directory of images, too", toDoctor,
     set<&Request::imageDirectory>},
};

/** Of a verb; without a task, of the whole. */
std::string helpOf(const Task* task)
{
    std::string words;
    std::string excluding;
    std::vector<plain::Row> rows;
    for (const auto& each : arguments)
    {
        if (each.isOf(task))
        {
            const std::string name = each.name;
            words += *each.name == '-' ? "" : " " + name;
            excluding +=
                each.excludes ? (excluding.empty() ? "" : ", ") + name : "";
            rows.emplace_back(
                "  " + name + (*each.value ? " " : "") + each.value,
                each.help + (each.set == setKind ? kinds(", ") : ""));
        }
    }
    if (task)
    {
        const auto command = std::string("wexa-fwmgr ") + task->verb + ' ';
        return task->help + ("\nUsage: " + command) + "[OPTIONS]" + words +
               '\n' + plain::table(rows) +
               (excluding.empty() ? "" : "Only one of " + excluding + '\n') +
               "\nExample: " + command + task->example +
               "\nWith every verb: --bus ADDRESS, --json, --trace, --verbose\n"
               "See wexa-fwmgr --help for what they do, man wexa-fwmgr for all else\n";
    }
    rows.insert(rows.end(), {{"", ""}, {"Subcommands:", ""}});
    for (const auto& each : tasks)
    {
        rows.emplace_back(std::string("  ") + each.verb, each.help);
    }
    return "Firmware updates by hand, on the bus of a BMC.\n"
           "Usage: wexa-fwmgr [OPTIONS] [SUBCOMMAND]\n\nOptions:\n" +
           plain::table(rows) +
           "\nExit status: 0 done, 1 unexpected, 2 wrong usage, 3 image refused,\n"
           "4 call failed, 5 flash failed, 6 flash not run, 7 may still run,\n"
           "8 board not ready, 9 outcome unknown, 129, 130, 143 interrupted\n";
}

/** None where no verb has that name. */
const Task* taskNamed(const std::string& verb)
{
    const auto* const found = std::ranges::find(tasks, verb, &Task::verb);
    return found == std::end(tasks) ? nullptr : found;
}

class Reader
{
  public:
    std::optional<Command> read(int argc, char** argv)
    {
        std::vector<option> known;
        for (const auto& each : arguments)
        {
            known.push_back({each.name + 2, *each.value ? 1 : 0, nullptr, 0});
        }
        known.push_back({});
        while (true)
        {
            const std::string given = optind < argc ? argv[optind] : "";
            // "-" returns words in their place; ":", a missing value.
            const auto code =
                getopt_long(argc, argv, "-:h", known.data(), nullptr);
            if (code == -1)
            {
                std::for_each(argv + optind, argv + argc,
                              [this](const auto* text) { takeWord(text); });
                return complete();
            }
            if (code == 1)
            {
                takeWord(given);
                continue;
            }
            // getopt_long accepts abbreviations, which may become ambiguous.
            const auto name =
                given == "-h" ? "--help" : given.substr(0, given.find('='));
            const auto* const option =
                std::ranges::find(arguments, name, &Argument::name);
            require(code != '?' && option != std::end(arguments) &&
                        (option->isOf(nullptr) || option->isOf(task)),
                    unexpected + given);
            if (!option->set)
            {
                while (!task && optind < argc)
                {
                    task = taskNamed(argv[optind++]);
                }
                std::cout << (name == "--help" ? helpOf(task)
                                               : "wexa-fwmgr " WEXA_VERSION
                                                 "\n");
                return {};
            }
            take(*option, optarg ? optarg : "");
        }
    }

  private:
    void takeWord(const std::string& text)
    {
        if (!task)
        {
            task = taskNamed(text);
            require(task, unexpected + text);
            return;
        }
        const auto* const word =
            std::ranges::find_if(arguments, [this](const auto& each) {
                return *each.name != '-' && each.isOf(task) &&
                       !taken.contains(&each);
            });
        require(word != std::end(arguments), unexpected + text);
        take(*word, text);
    }

    void take(const Argument& argument, const std::string& value)
    {
        const std::string name = argument.name;
        const auto isNew = taken.insert(&argument).second;
        require(!*argument.value || !value.empty(),
                name + " needs " + argument.value);
        require(!*argument.value || isNew, name + " is given twice");
        argument.set(command.request, value);
    }

    Command complete()
    {
        require(task, "a verb is required");
        std::string excluding;
        for (const auto& each : arguments)
        {
            const std::string name = each.name;
            const auto isTaken = taken.contains(&each);
            const auto isNeeded = each.isOf(task) && std::isalpha(*each.name);
            require(isTaken || !isNeeded, name + " is required");
            if (each.excludes && isTaken)
            {
                require(excluding.empty(), excluding + name);
                excluding = name + " excludes ";
            }
        }
        if (std::ranges::count(withImage, task->carryOut))
        {
            const auto& component = command.request.component;
            const auto needed = kindNamed(command.request.kind).hasComponents;
            require(!needed || !component.empty(),
                    "--component, which tells what the image is for, is "
                    "required");
            require(needed || component.empty(),
                    "--component: is for cpld only; leave it out");
        }
        command.verb = task->verb;
        command.carryOut = task->carryOut;
        return command;
    }

    const Task* task = nullptr;
    Command command;
    std::set<const Argument*> taken;
};

} // namespace

bool asksForJson(int argc, char** argv)
{
    return std::find(argv, argv + argc, std::string("--json")) != argv + argc;
}

std::optional<Command> parse(int argc, char** argv)
{
    // The bus closes a connection that sends anything but UTF-8.
    std::for_each(argv, argv + argc, [](const std::string& argument) {
        require(plain::isUtf8(argument),
                "the argument '" + argument + "' is not UTF-8",
                "D-Bus carries UTF-8 only: rename what it names");
    });
    return Reader().read(argc, argv);
}
