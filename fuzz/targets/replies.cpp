// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/side_by_side.hpp"

// What services answer to one operation: values of any type, errors, nothing;
// or they are not there.

using fuzz::VersionPurpose;

static void compareVerification(fuzz::SideBySide& sides, std::size_t which,
                                VersionPurpose purpose)
{
    sides.compare("a verification", [&](auto& subject) {
        switch (which)
        {
            case 0:
                return subject.VerifyBMC("/i", purpose, "");
            case 1:
                return subject.VerifyBIOS("/i", purpose, "");
            case 2:
                return subject.VerifyCapsule("/i", purpose, "");
            default:
                return subject.VerifyCPLD("/i", purpose, "MB_CPLD");
        }
    });
}

static void compareStart(fuzz::SideBySide& sides, std::size_t which)
{
    sides.compare("a launch", [&](auto& subject) {
        switch (which)
        {
            case 0:
                return subject.UpdateBMC("/i", VersionPurpose::BMC, "");
            case 1:
                return subject.UpdateBIOS("/i", VersionPurpose::Host, "");
            default:
                return subject.UpdateCPLD("/i", VersionPurpose::Other, "C");
        }
    });
    sides.compareJobRemoved(sides.launched(), "done");
}

static void compareProperties(fuzz::SideBySide& sides, fuzz::Input& input)
{
    test::ScriptedCoreLibrary core;
    core.board = input.number<std::uint16_t>();
    core.capsuleKind = 1;
    core.versionResult = 0;
    sides.compare("compare_boardID",
                  [](auto& subject) { return subject.compare_boardID("/i"); });
    sides.compare("processUploadBiosImage", [](auto& subject) {
        return subject.processUploadBiosImage("/i", {}, "");
    });
}

static void run(fuzz::Input input)
{
    const auto which = input.below(8);
    fuzz::SideBySide sides(fuzz::anyAnswers(input));
    if (which < 4)
    {
        compareVerification(sides, which,
                            static_cast<VersionPurpose>(input.below(8)));
    }
    else if (which < 7)
    {
        compareStart(sides, which - 4);
    }
    else
    {
        compareProperties(sides, input);
    }
}

static const fuzz::Target target("replies", run);
