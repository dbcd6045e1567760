// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/side_by_side.hpp"

// Any operations in any order, while services come, go and fail.

using fuzz::VersionPurpose;

namespace
{

struct Arguments
{
    explicit Arguments(fuzz::Input& input) :
        path(input.below(8) == 0 ? "/dev/null" : input.anyText()),
        component(input.text()),
        purpose(static_cast<VersionPurpose>(input.below(7)))
    {
        // Sent to a silent service, what is not UTF-8 ends either by the
        // time-out or with the connection, whichever comes first.
        if (fuzz::SideBySide::someAreSilent())
        {
            std::erase_if(path, [](unsigned char byte) { return byte > 127; });
        }
    }

    std::string path;
    std::string component;
    VersionPurpose purpose;
};

template <typename Subject>
int integerOperation(Subject& subject, std::size_t which,
                     const Arguments& given)
{
    const auto& [path, component, purpose] = given;
    switch (which)
    {
        case 0:
            return subject.VerifyBMC(path, purpose, component);
        case 1:
            return subject.VerifyBIOS(path, purpose, component);
        case 2:
            return subject.VerifyCapsule(path, purpose, component);
        case 3:
            return subject.VerifyCPLD(path, purpose, component);
        case 4:
            return subject.UpdateBMC(path, purpose, component);
        case 5:
            return subject.UpdateBIOS(path, purpose, component);
        case 6:
            return subject.UpdateCPLD(path, purpose, component);
        default:
            return subject.onCPLDNotifiedSignal(component);
    }
}

template <typename Subject>
int notify(Subject& subject)
{
    subject.onBMCUpdateSuccess();
    subject.onBIOSUpdateSuccess();
    subject.onCPLDUpdateSuccess();
    return 0;
}

void compareOperation(fuzz::SideBySide& sides, std::size_t which,
                      const Arguments& given)
{
    const auto compare = [&](auto operation) {
        sides.compare("operation " + std::to_string(which), operation);
    };
    const auto& path = given.path;
    const auto& component = given.component;
    switch (which)
    {
        case 8:
            return compare([&](auto& subject) {
                return subject.processUploadBmcImage(path, {}, component);
            });
        case 9:
            return compare([&](auto& subject) {
                return subject.processUploadBiosImage(path, {}, component);
            });
        case 10:
            return compare([&](auto& subject) {
                return subject.processUploadCpldImage(path, {}, component);
            });
        case 11:
            return compare([&](auto& subject) {
                return subject.getCPLDImageFileInfo(component, path);
            });
        case 12:
            return compare([&](auto& subject) {
                return subject.getCPLDVersionString(path);
            });
        case 13:
            return compare([&](auto& subject) {
                return subject.getCPLDImageFileVersionString(component, path);
            });
        case 14:
            return compare([&](auto& subject) {
                return subject.getAvailableCpldCompsInfo();
            });
        case 15:
            return compare(
                [&](auto& subject) { return subject.compare_boardID(path); });
        case 16:
            return compare([&](auto& subject) { return notify(subject); });
        default:
            return compare([&](auto& subject) {
                return integerOperation(subject, which, given);
            });
    }
}

void compareStep(fuzz::SideBySide& sides, fuzz::Input& input)
{
    switch (const auto what = input.below(24); what)
    {
        case 17:
        case 18:
        case 19:
        {
            const auto unit = input.flag() ? sides.launched() : input.text();
            sides.compareJobRemoved(unit, input.text());
            return;
        }
        case 20:
        case 21:
        case 22:
        case 23:
            // Services fail, go, or are themselves again.
            return sides.setAnswers(fuzz::anyAnswers(input));
        default:
            compareOperation(sides, what, Arguments(input));
    }
}

void run(fuzz::Input input)
{
    test::ScriptedCoreLibrary core;
    core.capsuleKind = static_cast<int>(input.below(5)) - 1;
    core.board = static_cast<int>(input.below(4));
    core.versionResult = input.below(4) == 0 ? -5 : 0;
    core.version = input.anyBytes(64);
    core.bmcVersion = input.text();

    constexpr auto mostSteps = 12;
    fuzz::SideBySide sides(fuzz::anyAnswers(input));
    for (auto step = 0; step < mostSteps && !input.usedUp(); ++step)
    {
        compareStep(sides, input);
    }
    sides.compareJobRemoved("any.service", "done");
}

const fuzz::Target target("operations", run);

} // namespace
