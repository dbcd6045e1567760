// SPDX-License-Identifier: Apache-2.0
#include "../support/operations.hpp"

#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/same_calls.hpp"
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
    if (which < fuzz::verifications)
    {
        return compare([&](auto& subject) {
            return fuzz::verify(subject, which, path, given.purpose, component);
        });
    }
    const auto further = which - fuzz::verifications;
    if (further < fuzz::launches)
    {
        return compare([&](auto& subject) {
            return fuzz::launch(subject, further, path, given.purpose,
                                component);
        });
    }
    switch (which)
    {
        case 7:
            return compare([&](auto& subject) {
                return subject.onCPLDNotifiedSignal(component);
            });
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
        default:
            return compare([&](auto& subject) { return notify(subject); });
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
        fuzz::requireSameCalls(core);
    }
    sides.compareJobRemoved("any.service", "done");
}

const fuzz::Target target("operations", run);

} // namespace
