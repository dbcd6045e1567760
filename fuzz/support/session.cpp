// SPDX-License-Identifier: Apache-2.0
#include "session.hpp"

#include "../../tests/support/as_text.hpp"
#include "../../tests/support/bytes.hpp"
#include "../../tests/support/explained_lines.hpp"
#include "../../tests/support/scripted_core_library.hpp"
#include "../../tests/support/systemd_manager.hpp"
#include "pattern.hpp"

#include <sdbusplus/exception.hpp>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <ranges>
#include <stdexcept>
#include <utility>
#include <variant>

namespace fuzz
{

namespace
{

const std::string callLabel = "call: ";

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line;
    }
    return text;
}

/** What the documents say that the library logs, as patterns. */
const Lines& explainedLines()
{
    static const auto explained = [] {
        const auto document = test::bytesOf(WEXA_LOG_LINES);
        Lines patterns;
        for (const auto& line : test::explainedLines(document, "Errors"))
        {
            patterns.push_back(test::err(line));
            patterns.push_back(test::errNotFlushed(line + '\n'));
        }
        for (const auto& line : test::explainedLines(document, "Progress"))
        {
            patterns.push_back(test::out(line));
        }
        return patterns;
    }();
    return explained;
}

void requireExplained(const std::string& operation, const Lines& lines)
{
    for (const auto& line : lines)
    {
        if (std::ranges::none_of(explainedLines(), [&](const auto& pattern) {
                return fits(line, pattern);
            }))
        {
            fail(operation + " logs what no document explains: " + line);
        }
    }
}

bool isBeginning(const Calls& made, const Calls& way)
{
    return made.size() <= way.size() &&
           std::ranges::equal(made, way | std::views::take(made.size()), fits);
}

void requireWay(const std::string& operation, const Calls& made,
                std::vector<Calls> (*calls)(const Arguments& given),
                const Arguments& given)
{
    const auto ways = calls == nullptr ? std::vector<Calls>{{}} : calls(given);
    if (std::ranges::none_of(
            ways, [&](const auto& way) { return isBeginning(made, way); }))
    {
        auto text = operation + " may not call";
        for (const auto& call : made)
        {
            text += '\n' + call;
        }
        fail(text);
    }
}

void requireEnding(const Operation& operation, const std::string& result,
                   const Lines& lines)
{
    const auto last = lines.empty() ? std::string() : lines.back();
    if (std::ranges::none_of(operation.endings, [&](const auto& ending) {
            return fits(result, ending.result) && fits(last, ending.lastLine);
        }))
    {
        fail(operation.name + " may not end with " + result +
             "\nhaving logged\n" + joined(lines));
    }
}

template <typename Act>
std::string outcomeOf(Act&& act)
{
    try
    {
        return act();
    }
    catch (const sdbusplus::exception::SdBusError& thrown)
    {
        return std::string("SdBusError ") + thrown.what();
    }
    catch (const std::filesystem::filesystem_error&)
    {
        return "filesystem_error";
    }
    catch (const std::bad_variant_access&)
    {
        return "bad_variant_access";
    }
    catch (const std::invalid_argument&)
    {
        return "invalid_argument";
    }
}

} // namespace

Session::Session(Answers answers) :
    platform(
        [this](const std::string& call) { transcript.note(callLabel + call); })
{
    Platform::answers = std::move(answers);
}

void Session::setAnswers(Answers answers)
{
    platform.settle();
    Platform::answers = std::move(answers);
}

bool Session::someAreSilent()
{
    return std::ranges::any_of(Platform::answers, [](const auto& answer) {
        return answer.second.isSilent;
    });
}

std::string Session::run(const Operation& operation, const Arguments& given)
{
    const auto result =
        outcomeOf([&] { return operation.run(library, given); });
    if (operation.unit != nullptr)
    {
        unit = operation.unit(given);
    }
    if (someAreSilent())
    {
        // A call that is not answered may arrive after its time-out.
        platform.settle();
    }

    made.clear();
    Lines lines;
    for (const auto& event : transcript.events())
    {
        const auto isCall = event.starts_with(callLabel);
        (isCall ? made : lines)
            .push_back(isCall ? event.substr(callLabel.size()) : event);
    }

    requireExplained(operation.name, lines);
    requireWay(operation.name, made, operation.calls, given);
    if (auto* const core = test::ScriptedCoreLibrary::current)
    {
        requireWay(operation.name, std::exchange(core->calls, {}),
                   operation.coreCalls, given);
    }
    requireEnding(operation, result, lines);
    return result;
}

test::Message Session::newJobRemoved() const
{
    return test::systemd_manager::newJobRemoved(platform.bus());
}

/** What a finished job's signal holds, read by plain sd-bus. */
struct Job
{
    std::uint32_t number = 0;
    const char* path = nullptr;
    const char* unit = nullptr;
    const char* result = nullptr;
};

static std::optional<Job> jobIn(sd_bus_message* signal)
{
    Job job;
    test::check(sd_bus_message_rewind(signal, 1), "rewind");
    const auto read = sd_bus_message_read(signal, "uoss", &job.number,
                                          &job.path, &job.unit, &job.result);
    return read < 0 ? std::nullopt : std::optional(job);
}

std::string Session::finish(sd_bus_message* signal)
{
    const auto job = jobIn(signal);
    std::string outcome = "SdBusError sd_bus_message_read_basic ...";
    std::string log;
    if (job)
    {
        outcome = unit != job->unit                         ? "0"
                  : std::string_view(job->result) == "done" ? "1"
                                                            : "2";
        log = test::out(std::to_string(job->number)) + test::out(job->path) +
              test::out(job->unit) + test::out(job->result) +
              test::out("serviceFile: " + unit);
    }

    sdbusplus::message_t message{signal};
    std::string actual;
    for (const auto operation :
         {&Library::onBMCStateChange, &Library::onBIOSStateChange,
          &Library::onCPLDStateChange})
    {
        test::check(sd_bus_message_rewind(signal, 1), "rewind");
        actual = outcomeOf(
            [&] { return test::asText((library.*operation)(message)); });
        const auto logged = joined(transcript.events());
        if (!fits(actual, outcome) || logged != log)
        {
            fail("a finished job ends with " + actual + ", not " + outcome +
                 "\nlogged:   " + logged + "\nexpected: " + log);
        }
    }
    return actual;
}

std::string Session::finish(const std::string& finished,
                            const std::string& result)
{
    const auto signal = newJobRemoved();
    if (sd_bus_message_append(signal.get(), "uoss", 1U, "/job/1",
                              finished.c_str(), result.c_str()) < 0)
    {
        return {};
    }
    test::check(sd_bus_message_seal(signal.get(), 1, 0), "seal");
    return finish(signal.get());
}

} // namespace fuzz
