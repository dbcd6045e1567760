// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include "failed_call.hpp"
#include "trace.hpp"

#include <plain.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>

Report::Report(std::string verb, bool json) : verb(std::move(verb)), json(json)
{}

/** In ASCII, for terminals. Invalid UTF-8, such as a file name may be, is
 *  replaced.
 */
static std::string dumped(const nlohmann::json& value, int indent)
{
    return value.dump(indent, ' ', true,
                      nlohmann::json::error_handler_t::replace);
}

/** One event a line. The value that they are part of is closed in the end. */
void Report::tell(const Result& event)
{
    if (json)
    {
        std::cout << (hasTold ? ",\n" : "{\"events\": [\n")
                  << dumped(event.data, -1);
        hasTold = true;
    }
    else
    {
        std::cout << plain::lines(event.text);
    }
    std::cout.flush();
    if (!std::cout)
    {
        throw Failure(ExitStatus::unexpected,
                      "what happened could not be shown", "");
    }
}

nlohmann::json Report::closing(ExitStatus status) const
{
    nlohmann::json value{
        {"verb", verb.empty() ? nlohmann::json() : nlohmann::json(verb)},
        {"outcome", nameOf(status)},
        {"exit_status", static_cast<int>(status)},
        {"result", nullptr},
        {"error", nullptr}};
    if (!warnings.empty())
    {
        value["warnings"] = warnings;
    }
    if (trace::isOn())
    {
        value["trace"] = trace::calls();
    }
    return value;
}

void Report::print(const nlohmann::json& value) const
{
    if (!hasTold)
    {
        std::cout << dumped(value, 2) << '\n';
        return;
    }
    std::cout << "\n]";
    for (const auto& [name, member] : value.items())
    {
        std::cout << ",\n" << dumped(name, -1) << ": " << dumped(member, -1);
    }
    std::cout << "\n}\n";
}

void Report::remark(const std::string& text)
{
    std::cerr << "wexa-fwmgr: " << plain::line(text) << '\n';
}

int Report::succeed(const Result& result)
{
    if (json)
    {
        auto value = closing(ExitStatus::success);
        value["result"] = result.data;
        print(value);
    }
    else
    {
        std::cout << plain::lines(result.text);
    }
    return ended(ExitStatus::success,
                 result.text.empty() ? "success\n" : result.text);
}

static void printDetail(const char* label, const std::string& text)
{
    if (!text.empty())
    {
        std::cerr << "  " << label << plain::line(text) << '\n';
    }
}

void Report::warn(const std::string& what, const std::string& hint)
{
    if (json)
    {
        warnings.push_back({{"message", what}, {"hint", hint}});
        return;
    }
    std::cerr << "wexa-fwmgr: warning: " << plain::line(what) << '\n';
    printDetail("hint:     ", hint);
    std::cerr.flush();
}

static void printFailure(const Failure& failure)
{
    std::cerr << "wexa-fwmgr: " << plain::line(failure.what()) << '\n';
    const auto& reason = failure.reason;
    const auto [call, hint] = detailsOf(reason);
    printDetail("step:     ", reason.step);
    for (const auto& line : reason.library)
    {
        printDetail("library:  ", line);
    }
    printDetail("D-Bus:    ", reason.dbusError);
    printDetail("call:     ", call);
    for (const auto& command : reason.commands)
    {
        printDetail("command:  ", command);
    }
    for (const auto& line : reason.log)
    {
        printDetail("log:      ", line);
    }
    printDetail("log:      not known: ", reason.logUnknown);
    printDetail("hint:     ", hint);
    std::cerr.flush();
}

int Report::fail(const Failure& failure)
{
    if (json)
    {
        auto value = closing(failure.status);
        const auto& reason = failure.reason;
        const auto [call, hint] = detailsOf(reason);
        value["result"] = failure.found.data;
        value["error"] = {{"message", failure.what()},
                          {"step", reason.step},
                          {"library", reason.library},
                          {"dbus_error", reason.dbusError},
                          {"call", call},
                          {"commands", reason.commands},
                          {"log", reason.log},
                          {"log_unknown", reason.logUnknown},
                          {"hint", hint}};
        print(value);
    }
    else
    {
        std::cout << plain::lines(failure.found.text);
        std::cout.flush();
        if (std::cout)
        {
            printFailure(failure);
        }
    }
    return ended(failure.status, plain::line(failure.what()) + '\n');
}

/** A result that could not be written is not a success. */
int Report::ended(ExitStatus status, const std::string& outcome)
{
    std::cout.flush();
    if (std::cout)
    {
        return static_cast<int>(status);
    }
    std::cerr << "wexa-fwmgr: cannot write to standard output: "
              << std::strerror(errno)
              << "\n  outcome:  " << plain::lines(outcome);
    std::cerr.flush();
    return static_cast<int>(
        status == ExitStatus::success ? ExitStatus::unexpected : status);
}
