// SPDX-License-Identifier: Apache-2.0
#include "failed_call.hpp"

#include "common/methods.hpp"
#include "trace.hpp"

#include <sstream>

constexpr auto noAnswerInTime = "org.freedesktop.DBus.Error.Timeout";
constexpr auto noAnswer = "org.freedesktop.DBus.Error.NoReply";
constexpr auto answerOfAnotherType = "System.Error.ENXIO";

/** What SYSTEMD_BUS_TIMEOUT can be set to for a board on a desk. */
constexpr std::chrono::seconds shortWait{5};

static std::string inWords(std::chrono::microseconds time)
{
    std::ostringstream text;
    text << std::chrono::duration<double>(time).count() << " s";
    return text.str();
}

static std::string endOf(const trace::FailedCall& call,
                         const std::string& dbusError)
{
    if (dbusError == noAnswerInTime)
    {
        return "not answered within " + inWords(call.limit) +
               "; it may still take effect";
    }
    if (dbusError == noAnswer)
    {
        return "not answered; it may have taken effect";
    }
    const auto* const expected = expectedTypesOf(call.member);
    return dbusError != answerOfAnotherType || expected == nullptr
               ? ""
               : "the answer is " +
                     anotherTypeInWords(call.answer, expected->out);
}

CallDetails detailsOf(const Reason& reason)
{
    CallDetails details{"", reason.hint};
    const auto call = trace::callBehind(reason.dbusError);
    if (!call)
    {
        return details;
    }
    if (const auto end = endOf(*call, reason.dbusError); !end.empty())
    {
        details.call = call->member + " of " + call->service + ": " + end;
    }
    if (reason.dbusError == noAnswerInTime && call->limit > shortWait)
    {
        details.hint += "; SYSTEMD_BUS_TIMEOUT=5s in the environment shortens "
                        "the wait";
    }
    return details;
}
