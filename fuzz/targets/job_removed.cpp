// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/plain_reader.hpp"
#include "../support/session.hpp"
#include "../support/typed_values.hpp"

// Signals of finished jobs: of any type and content, well-formed or not, before
// and after a launch.

/** The body of a reply instead: a message that no sd-bus would send. */
static void finishRaw(fuzz::Session& session)
{
    fuzz::PlainReader reader;
    if (const auto reply = reader.reply("Raw"))
    {
        session.finish(reply.get());
    }
}

static void finishTyped(fuzz::Session& session, fuzz::Input& input)
{
    const auto types = input.flag() ? "uoss" : fuzz::anyType(input);
    const auto more = input.flag() ? fuzz::anyType(input) : "";
    const auto signal = session.newJobRemoved();
    fuzz::appendValues(input, signal.get(), types + more);
    test::check(sd_bus_message_seal(signal.get(), 1, 0), "seal");
    session.finish(signal.get());
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

    fuzz::Session session(std::move(answers));
    if (isLaunched)
    {
        session.run("UpdateBMC", {path});
    }
    session.finish(session.launched(), result);
    isRaw ? finishRaw(session) : finishTyped(session, input);
}

static const fuzz::Target target("job_removed", run);
