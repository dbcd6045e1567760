// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/operations.hpp"
#include "../support/same_calls.hpp"
#include "../support/side_by_side.hpp"

// What services answer to one operation: values of any type, errors, nothing;
// or they are not there.

using fuzz::VersionPurpose;

static void compareProperties(fuzz::SideBySide& sides, fuzz::Input& input)
{
    test::ScriptedCoreLibrary core;
    core.board = input.number<std::uint16_t>();
    core.capsuleKind = 1;
    core.versionResult = 0;
    sides.compare("compare_boardID",
                  [](auto& subject) { return subject.compare_boardID("/i"); });
    fuzz::requireSameCalls(core);
    sides.compare("processUploadBiosImage", [](auto& subject) {
        return subject.processUploadBiosImage("/i", {}, "");
    });
    fuzz::requireSameCalls(core);
}

static void run(fuzz::Input input)
{
    const auto which = input.below(8);
    fuzz::SideBySide sides(fuzz::anyAnswers(input));
    if (which < fuzz::verifications)
    {
        const auto purpose = static_cast<VersionPurpose>(input.below(8));
        sides.compare("a verification", [&](auto& subject) {
            return fuzz::verify(subject, which, "/i", purpose, "MB_CPLD");
        });
    }
    else if (which < fuzz::verifications + fuzz::launches)
    {
        sides.compare("a launch", [&](auto& subject) {
            return fuzz::launch(subject, which - fuzz::verifications, "/i",
                                VersionPurpose::Other, "C");
        });
        sides.compareJobRemoved(sides.launched(), "done");
    }
    else
    {
        compareProperties(sides, input);
    }
}

static const fuzz::Target target("replies", run);
