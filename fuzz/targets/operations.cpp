// SPDX-License-Identifier: Apache-2.0
#include "../support/operations.hpp"

#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/session.hpp"

// Any operations in any order, while services come, go and fail.

static fuzz::Arguments argumentsFrom(fuzz::Input& input)
{
    fuzz::Arguments given{input.below(8) == 0 ? "/dev/null" : input.anyText(),
                          input.text()};
    given.purpose = static_cast<fuzz::VersionPurpose>(input.below(7));
    // Sent to a silent service, what is not UTF-8 ends either by the time-out
    // or with the connection, whichever comes first.
    if (fuzz::Session::someAreSilent())
    {
        std::erase_if(given.path,
                      [](unsigned char byte) { return byte > 127; });
    }
    return given;
}

static void act(fuzz::Session& session, fuzz::Input& input)
{
    const auto& operations = fuzz::operations();
    constexpr auto finishedJobs = 3;
    constexpr auto changes = 4;
    const auto which = input.below(operations.size() + finishedJobs + changes);
    if (which < operations.size())
    {
        session.run(operations[which], argumentsFrom(input));
    }
    else if (which < operations.size() + finishedJobs)
    {
        const auto unit = input.flag() ? session.launched() : input.text();
        session.finish(unit, input.text());
    }
    else
    {
        // Services fail, go, or are themselves again.
        session.setAnswers(fuzz::anyAnswers(input));
    }
}

static void run(fuzz::Input input)
{
    test::ScriptedCoreLibrary core;
    core.capsuleKind = static_cast<int>(input.below(5)) - 1;
    core.board = static_cast<int>(input.below(4));
    core.versionResult = input.below(4) == 0 ? -5 : 0;
    core.version = input.anyBytes(64);
    core.bmcVersion = input.text();

    constexpr auto mostSteps = 12;
    fuzz::Session session(fuzz::anyAnswers(input));
    for (auto step = 0; step < mostSteps && !input.usedUp(); ++step)
    {
        act(session, input);
    }
    session.finish("any.service", "done");
}

static const fuzz::Target target("operations", run);
