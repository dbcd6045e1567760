// SPDX-License-Identifier: Apache-2.0
#include "side_by_side.hpp"

#include "../../tests/support/systemd_manager.hpp"

#include <algorithm>
#include <iterator>

namespace fuzz
{

SideBySide::SideBySide(Answers answers) :
    referencePlatform([this](std::string call) {
        log.note("call: " + std::move(call) + '\n');
    }),
    libraryPlatform([this](std::string call) {
        transcript.note("call: " + std::move(call) + '\n');
    })
{
    Platform::answers = std::move(answers);
}

void SideBySide::setAnswers(Answers answers)
{
    referencePlatform.settle();
    libraryPlatform.settle();
    Platform::answers = std::move(answers);
}

bool SideBySide::someAreSilent()
{
    return std::ranges::any_of(Platform::answers, [](const auto& answer) {
        return answer.second.isSilent;
    });
}

/** A call that is not answered may be noted after its time-out is logged. */
static void sortCallsToTheEnd(std::vector<std::string>& events)
{
    const auto isCall = [](const std::string& event) {
        return event.starts_with("call: ");
    };
    std::vector<std::string> calls;
    std::ranges::copy_if(events, std::back_inserter(calls), isCall);
    std::erase_if(events, isCall);
    std::ranges::move(calls, std::back_inserter(events));
}

static std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line;
    }
    return text;
}

void SideBySide::compareEvents(const std::string& what)
{
    const auto late = someAreSilent();
    if (late)
    {
        referencePlatform.settle();
        libraryPlatform.settle();
    }
    auto expected = log.events();
    auto actual = transcript.events();
    if (late)
    {
        sortCallsToTheEnd(expected);
        sortCallsToTheEnd(actual);
    }
    requireSame(what + ", its log and calls", joined(expected), joined(actual));
}

Message SideBySide::replyOf(const char* member)
{
    auto* const bus = referencePlatform.bus();
    auto reply = call(bus, newCall(bus, "a.b", "/", "a.b", member));
    log.events();
    return reply;
}

Message SideBySide::newJobRemoved() const
{
    return test::systemd_manager::newJobRemoved(referencePlatform.bus());
}

std::string SideBySide::compareJobRemoved(sd_bus_message* signal)
{
    sdbusplus::message_t message{signal};
    std::string outcome;
    const auto compareWith = [&](const char* what, auto onStateChange) {
        outcome = compare(what, [&](auto& subject) {
            test::check(sd_bus_message_rewind(signal, 1), "rewind");
            return onStateChange(subject);
        });
    };
    compareWith("onBMCStateChange", [&](auto& subject) {
        return subject.onBMCStateChange(message);
    });
    compareWith("onBIOSStateChange", [&](auto& subject) {
        return subject.onBIOSStateChange(message);
    });
    compareWith("onCPLDStateChange", [&](auto& subject) {
        return subject.onCPLDStateChange(message);
    });
    return outcome;
}

std::string SideBySide::compareJobRemoved(const std::string& unit,
                                          const std::string& result)
{
    const auto signal = newJobRemoved();
    if (sd_bus_message_append(signal.get(), "uoss", 1U, "/job/1", unit.c_str(),
                              result.c_str()) < 0)
    {
        return {};
    }
    test::check(sd_bus_message_seal(signal.get(), 1, 0), "seal");
    return compareJobRemoved(signal.get());
}

} // namespace fuzz
