// SPDX-License-Identifier: Apache-2.0
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "verbs.hpp"

#include <CLI/CLI.hpp>
#include <sdbusplus/exception.hpp>

#include <iostream>
#include <vector>

// wexa-fwmgr: firmware updates by hand, through the library.

namespace
{

using Verb = void (*)(const Request&);

struct Declaration
{
    const char* name;
    const char* description;
    Verb verb;
};

const std::vector<Declaration> declarations{
    {"upload",
     "Read an image's version, have the image verified, record it as staged\n\n"
     "Example: wexa-fwmgr upload bmc /tmp/image",
     upload},
    {"verify",
     "Have the security manager, or the CPLD itself, judge an image\n\n"
     "Example: wexa-fwmgr verify bmc /tmp/image",
     verify},
    {"update",
     "Flash an image, which is not verified again, and wait for the end\n\n"
     "Example: wexa-fwmgr update bmc /tmp/image",
     update},
};

void requireComponentWhereThereAreSome(const Request& request)
{
    if (request.kind->hasComponents() && request.component.empty())
    {
        throw CLI::RequiredError("--component, which tells what the image is "
                                 "for,");
    }
    if (!request.kind->hasComponents() && !request.component.empty())
    {
        throw CLI::ValidationError("--component",
                                   "is for cpld only; leave it away");
    }
}

void declareComponents(CLI::App& app, Request& request, Verb& chosen)
{
    auto* verb = app.add_subcommand(
        "components", "List the CPLD components, what they run and their "
                      "properties\n\nExample: wexa-fwmgr components --json");
    verb->add_flag("--json", request.json, "One JSON value");
    verb->callback([&chosen] { chosen = listComponents; });
}

void declare(CLI::App& app, const Declaration& declaration, Request& request,
             Verb& chosen)
{
    auto* verb = app.add_subcommand(declaration.name, declaration.description);
    std::vector<std::string> kinds;
    for (const auto* kind : firmwareKinds())
    {
        kinds.push_back(kind->name());
    }
    verb->add_option_function<std::string>(
            "KIND",
            [&request](const std::string& name) {
                request.kind = &firmwareKindNamed(name);
            },
            "Kind of firmware: " + CLI::detail::join(kinds, " or "))
        ->required()
        ->check(CLI::IsMember(kinds))
        ->option_text(" ");
    verb->add_option("IMAGE", request.image, "Path of the image file")
        ->required()
        ->option_text(" ");
    verb->add_option("--component", request.component,
                     "Component of the board that a CPLD image is for")
        ->option_text("NAME");
    verb->callback([&declaration, &request, &chosen] {
        requireComponentWhereThereAreSome(request);
        chosen = declaration.verb;
    });
    if (std::string(declaration.name) == "update")
    {
        verb->add_option_function<unsigned int>(
                "--timeout",
                [&request](unsigned int seconds) {
                    request.timeout = std::chrono::seconds(seconds);
                },
                "Seconds to wait for the end of the flash, 1 to 86400; 600 "
                "unless given")
            ->check(CLI::Range(1, 86400))
            ->option_text("SECONDS");
    }
}

int fail(ExitStatus status, const std::string& line)
{
    std::cerr << "wexa-fwmgr: " << line << std::endl;
    return static_cast<int>(status);
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Firmware updates by hand, on the bus of a BMC.",
                 "wexa-fwmgr");
    app.require_subcommand(0, 1);
    app.fallthrough();
    Request request;
    request.bus = "system";
    Verb verb = nullptr;
    app.add_option("--bus", request.bus,
                   "Address of the bus, or system, which is the default")
        ->option_text("ADDRESS");
    app.add_flag("--verbose", request.verbose,
                 "Show the library's own log lines on standard error");
    for (const auto& declaration : declarations)
    {
        declare(app, declaration, request, verb);
    }
    declareComponents(app, request, verb);

    try
    {
        app.parse(argc, argv);
        if (verb == nullptr)
        {
            throw CLI::RequiredError(
                "a verb: upload, verify, update or components");
        }
        verb(request);
        return static_cast<int>(ExitStatus::success);
    }
    catch (const CLI::CallForHelp& help)
    {
        return app.exit(help);
    }
    catch (const CLI::ParseError& error)
    {
        return fail(ExitStatus::wrongUsage,
                    std::string(error.what()) + "; see wexa-fwmgr --help");
    }
    catch (const Failure& failure)
    {
        return fail(failure.status, failure.what());
    }
    catch (const sdbusplus::exception::exception& error)
    {
        return fail(ExitStatus::callFailed, error.what());
    }
    catch (const std::exception& error)
    {
        return fail(ExitStatus::unexpected, error.what());
    }
}
