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

static std::string nameOf(const trace::FailedCall& call)
{
    return call.member + (call.property.empty() ? "" : " " + call.property) +
           " of " + call.service;
}

/** @param effect  what may have become of it; of a mere question nothing */
static std::string notAnswered(const trace::FailedCall& call,
                               const std::string& when, const char* effect)
{
    return "not answered" + when + (call.changesSomething() ? effect : "");
}

static std::string typeOfAnswer(const trace::FailedCall& call)
{
    const auto* const expected = expectedTypesOf(call.member);
    return expected == nullptr
               ? "answered in another type than is expected"
               : "the answer is " +
                     anotherTypeInWords(call.answer, expected->out);
}

/** @param isToldElsewhere  whether the library's lines tell of the call */
static std::string endOf(const trace::FailedCall& call,
                         const std::string& dbusError, bool isToldElsewhere)
{
    if (dbusError == noAnswerInTime)
    {
        return notAnswered(call, " within " + inWords(call.limit),
                           "; it may still take effect");
    }
    if (dbusError == noAnswer)
    {
        return notAnswered(call, "", "; it may have taken effect");
    }
    if (dbusError == answerOfAnotherType)
    {
        return typeOfAnswer(call);
    }
    return isToldElsewhere ? "" : "failed";
}

CallDetails detailsOf(const Reason& reason)
{
    CallDetails details{"", reason.hint};
    const auto call = trace::callBehind(reason.dbusError);
    if (!call)
    {
        return details;
    }
    if (const auto end =
            endOf(*call, reason.dbusError, !reason.library.empty());
        !end.empty())
    {
        details.call = nameOf(*call) + ": " + end;
    }
    if (reason.dbusError == noAnswerInTime && call->limit > shortWait)
    {
        details.hint += "; SYSTEMD_BUS_TIMEOUT=5s in the environment shortens "
                        "the wait";
    }
    return details;
}
