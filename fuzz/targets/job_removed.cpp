// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/side_by_side.hpp"
#include "../support/typed_values.hpp"

// Signals of finished jobs: of any type and content, well-formed or not, before
// and after a launch.

/** The body of a reply instead: a message that no sd-bus would send. */
static void compareRaw(fuzz::SideBySide& sides)
{
    try
    {
        sides.compareJobRemoved(sides.replyOf("Raw").get());
    }
    catch (const fuzz::Failure&)
    {
        // It was an error, or no message: no job's signal either.
    }
}

static void compareTyped(fuzz::SideBySide& sides, fuzz::Input& input)
{
    const auto types = input.flag() ? "uoss" : fuzz::anyType(input);
    const auto more = input.flag() ? fuzz::anyType(input) : "";
    const auto signal = sides.newJobRemoved();
    fuzz::appendValues(input, signal.get(), types + more);
    test::check(sd_bus_message_seal(signal.get(), 1, 0), "seal");
    sides.compareJobRemoved(signal.get());
}

static void run(fuzz::Input input)
{
    const auto isRaw = input.flag();
    const auto isLaunched = input.flag();
    const auto path = input.text();
    const auto result = input.text();
    fuzz::Answers answers;
    if (isRaw)
    {
        answers["Raw"] = fuzz::rawAnswer(input);
    }

    fuzz::SideBySide sides(std::move(answers));
    if (isLaunched)
    {
        sides.compare("UpdateBMC", [&](auto& subject) {
            return subject.UpdateBMC(path, fuzz::VersionPurpose::BMC, "");
        });
    }
    const auto outcome = sides.compareJobRemoved(sides.launched(), result);
    fuzz::requireSame("the outcome", result == "done" ? "1" : "2", outcome);

    isRaw ? compareRaw(sides) : compareTyped(sides, input);
}

static const fuzz::Target target("job_removed", run);
