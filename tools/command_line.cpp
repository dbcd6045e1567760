// SPDX-License-Identifier: Apache-2.0
#include "command_line.hpp"

#include "common/failure.hpp"
#include "common/kind.hpp"

#include <CLI/CLI.hpp>
#include <between.hpp>
#include <plain.hpp>

#include <algorithm>
#include <iterator>
#include <vector>

namespace
{

constexpr auto globalOptions =
    "With every verb: --bus ADDRESS, --json, --trace, --verbose\n"
    "See wexa-fwmgr --help for what they do, man wexa-fwmgr for all else";

std::vector<std::string> kinds()
{
    std::vector<std::string> names;
    std::ranges::transform(allKinds(), std::back_inserter(names), &Kind::name);
    return names;
}

/** Builds the command line's grammar around a `Command`. */
class Grammar
{
  public:
    Grammar(CLI::App& app, Command& command) : app(app), command(command) {}

    void declare()
    {
        declareGlobalOptions();
        declareUpload();
        declareVerify();
        declareUpdate();
        declareComponents();
        declareMonitor();
        declareDoctor();
    }

  private:
    void declareGlobalOptions()
    {
        auto& request = command.request;
        app.add_option("--bus", request.bus,
                       "Address of the bus, or system, which is the default")
            ->check([](const std::string& address) {
                return address.empty() ? std::string("is no address") : "";
            })
            ->option_text("ADDRESS");
        app.add_flag("--json", request.json,
                     "Print one JSON value on standard output, also on "
                     "failure");
        app.add_flag("--trace", command.trace,
                     "Show each D-Bus call and its time on standard error");
        app.add_flag("--verbose", request.verbose,
                     "Show the library's own log lines on standard error");
        app.set_version_flag("--version", "wexa-fwmgr " WEXA_VERSION,
                             "Print the version");
        app.footer("Exit status: 0 done, 1 unexpected, 2 wrong usage, 3 image "
                   "refused,\n4 call failed, 5 flash failed, 6 flash not run, "
                   "7 may still run,\n8 board not ready, 9 outcome unknown, "
                   "129, 130, 143 interrupted");
    }

    CLI::App* verb(const std::string& name, const std::string& description,
                   const std::string& example, Verb carryOut)
    {
        auto* const sub = app.add_subcommand(name, description);
        sub->footer("Example: " + example + "\n" + globalOptions);
        sub->callback([this, name, carryOut] {
            command.verb = name;
            command.carryOut = carryOut;
        });
        return sub;
    }

    void declareUpload()
    {
        takeImage(verb("upload",
                       "Have an image read, verified and recorded as staged",
                       "wexa-fwmgr upload bmc /tmp/image", ::upload));
    }

    void declareVerify()
    {
        takeImage(verb("verify",
                       "Have the security manager or the CPLD judge an image",
                       "wexa-fwmgr verify bios /tmp/image", ::verify));
    }

    void declareUpdate()
    {
        auto& request = command.request;
        auto* const update = verb(
            "update", "Have an image verified, flash it and wait for the end",
            "wexa-fwmgr update cpld /tmp/image --component MB_CPLD", ::update);
        takeImage(update);
        auto* const dryRun =
            update->add_flag("--dry-run", request.dryRun,
                             "Show the unit that would be started; do nothing");
        update->add_flag_callback(
            "--no-verify", [&request] { request.verify = false; },
            "Flash without verification, even if not authentic");
        auto* const noWait = update->add_flag_callback(
            "--no-wait", [&request] { request.wait = false; },
            "End when the flash is started");
        auto* const timeout =
            update
                ->add_option_function<unsigned int>(
                    "--timeout",
                    [&request](unsigned int seconds) {
                        request.timeout = std::chrono::seconds(seconds);
                    },
                    "Wait so long for the end, 1 to 86400; 600 unless given")
                ->check(between(1, 86400))
                ->option_text("SECONDS");
        timeout->excludes(noWait)->excludes(dryRun);
        noWait->excludes(dryRun);
    }

    void declareComponents()
    {
        verb("components",
             "List the CPLD components, what they run and their properties",
             "wexa-fwmgr components --json", ::listComponents);
    }

    void declareMonitor()
    {
        verb("monitor",
             "Show finished flashes and CPLD notifications until stopped",
             "wexa-fwmgr monitor", ::monitor);
    }

    void declareDoctor()
    {
        auto* const doctor =
            verb("doctor", "Look whether the board has all that updates need",
                 "wexa-fwmgr doctor bmc --images /run/images", examineBoard);
        doctor
            ->add_option("KIND", command.request.kind,
                         "Only what this kind of firmware needs: " +
                             CLI::detail::join(kinds(), ", "))
            ->check(CLI::IsMember(kinds()))
            ->option_text(" ");
        doctor
            ->add_option("--daemon", command.request.daemon,
                         "Look whether this daemon fits the library, too")
            ->option_text("PROGRAM");
        doctor
            ->add_option("--images", command.request.imageDirectory,
                         "Look at this directory of images, too")
            ->option_text("DIRECTORY");
    }

    void takeImage(CLI::App* verb)
    {
        auto& request = command.request;
        verb->add_option("KIND", request.kind,
                         "Kind of firmware: " +
                             CLI::detail::join(kinds(), " or "))
            ->required()
            ->check(CLI::IsMember(kinds()))
            ->option_text(" ");
        verb->add_option("IMAGE", request.image, "Path of the image file")
            ->required()
            ->option_text(" ");
        verb->add_option("--component", request.component,
                         "Component of the board that a CPLD image is for")
            ->option_text("NAME");
        verb->parse_complete_callback([this] { requireComponentOfCplds(); });
    }

    void requireComponentOfCplds() const
    {
        const auto& request = command.request;
        const auto needed = kindNamed(request.kind).hasComponents;
        if (needed && request.component.empty())
        {
            throw CLI::RequiredError(
                "--component, which tells what the image is for,");
        }
        if (!needed && !request.component.empty())
        {
            throw CLI::ValidationError("--component",
                                       "is for cpld only; leave it out");
        }
    }

    CLI::App& app;
    Command& command;
};

} // namespace

bool asksForJson(int argc, char** argv)
{
    return std::find(argv, argv + argc, std::string("--json")) != argv + argc;
}

/** D-Bus carries UTF-8 only, and the bus closes a connection that sends
 *  anything else.
 */
static void requireUtf8(int argc, char** argv)
{
    const auto* const odd =
        std::find_if_not(argv, argv + argc,
                         [](const auto* text) { return plain::isUtf8(text); });
    if (odd != argv + argc)
    {
        throw Failure(ExitStatus::wrongUsage,
                      "the argument '" + std::string(*odd) + "' is not UTF-8",
                      "D-Bus carries UTF-8 only: rename what it names");
    }
}

std::optional<Command> parse(int argc, char** argv)
{
    requireUtf8(argc, argv);
    CLI::App app("Firmware updates by hand, on the bus of a BMC.",
                 "wexa-fwmgr");
    app.require_subcommand(0, 1);
    // Narrow enough for descriptions to fit a terminal of 80 columns.
    app.get_formatter()->column_width(20);
    app.fallthrough();
    Command command;
    // Whose functions are called while the command line is parsed.
    Grammar grammar(app, command);
    grammar.declare();
    try
    {
        app.parse(argc, argv);
        if (command.verb.empty())
        {
            throw CLI::RequiredError("a verb: upload, verify, update, "
                                     "components, monitor or doctor");
        }
        return command;
    }
    catch (const CLI::Success& help)
    {
        app.exit(help);
        return {};
    }
    catch (const CLI::ParseError& error)
    {
        throw Failure(ExitStatus::wrongUsage, error.what(),
                      "see wexa-fwmgr --help");
    }
}
