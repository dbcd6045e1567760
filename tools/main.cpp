// SPDX-License-Identifier: Apache-2.0
#include "command_line.hpp"
#include "common/dbus_error.hpp"
#include "common/failure.hpp"
#include "common/shortage.hpp"
#include "interruption.hpp"
#include "report.hpp"
#include "trace.hpp"

#include <fcntl.h>
#include <sdbusplus/exception.hpp>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <string>

// wexa-fwmgr: firmware updates by hand, through the library.

/** A call that a signal ended looks as if the service had failed. */
static bool isExplainedBySignal(ExitStatus status)
{
    return status == ExitStatus::callFailed || status == ExitStatus::notReady ||
           status == ExitStatus::unexpected;
}

static Failure orInterruption(const Failure& failure)
{
    const auto signal = Interruption::signal();
    if (!signal || !isExplainedBySignal(failure.status))
    {
        return failure;
    }
    return {static_cast<ExitStatus>(128 + *signal),
            std::string("interrupted by SIG") + sigabbrev_np(*signal) +
                " before it ended",
            "what was asked of a service may still take effect; run it again",
            failure.found};
}

/** Keeps the number of a closed stream from a file that is opened later, which
 *  would be written to. To write to this fails, as to a closed stream.
 */
static void holdClosedStreams()
{
    for (auto stream = 0; stream <= STDERR_FILENO; ++stream)
    {
        if (fcntl(stream, F_GETFD) < 0)
        {
            open("/dev/null", O_RDONLY | O_CLOEXEC);
        }
    }
}

int main(int argc, char** argv)
{
    holdClosedStreams();
    // A closed pipe is an error to report; it must not end the tool while the
    // flash runs.
    signal(SIGPIPE, SIG_IGN);
    const Interruption untilAllIsSaid;
    Report report("", asksForJson(argc, argv));
    try
    {
        auto command = parse(argc, argv);
        if (!command)
        {
            return Report::ended(ExitStatus::success, "success\n");
        }
        report = Report(command->verb, command->request.json);
        command->request.tell = [&](const auto& event) { report.tell(event); };
        command->request.warn = [&](const auto& what, const auto& hint) {
            report.warn(what, hint);
        };
        command->request.remark = [&command](const auto& text) {
            if (command->request.verbose)
            {
                Report::remark(text);
            }
        };
        command->request.interruption = Interruption::signal;
        if (command->request.trace)
        {
            trace::begin(!command->request.json);
        }
        shortage::requireNone();
        return report.succeed(command->carryOut(command->request));
    }
    catch (const Failure& failure)
    {
        return report.fail(orInterruption(failure));
    }
    catch (const sdbusplus::exception_t& error)
    {
        return report.fail(orInterruption(
            {ExitStatus::callFailed, error.what(),
             Reason{"", {}, error.name(), hintFor(error.name())}}));
    }
    catch (const std::bad_alloc&)
    {
        return report.fail(shortage::failure("cannot go on", ENOMEM));
    }
    catch (const std::exception& error)
    {
        return report.fail(
            orInterruption({ExitStatus::unexpected, error.what(), ""}));
    }
}
