// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/cpld_device.hpp"
#include "../support/side_by_side.hpp"

// Replies of any signature and any bytes, as a broken bus would hand them on,
// wherever the library reads one.

static void compareOperations(fuzz::SideBySide& sides, std::size_t which)
{
    switch (which)
    {
        case 0:
            sides.compare("getAvailableCpldCompsInfo", [](auto& subject) {
                return subject.getAvailableCpldCompsInfo();
            });
            return;
        case 1:
            sides.compare("getCPLDImageFileInfo", [](auto& subject) {
                return subject.getCPLDImageFileInfo("MB_CPLD", "/dev/null");
            });
            return;
        case 2:
            sides.compare("VerifyCPLD", [](auto& subject) {
                return subject.VerifyCPLD("/i", fuzz::VersionPurpose::Other,
                                          "MB_CPLD");
            });
            return;
        case 3:
            sides.compare("compare_boardID", [](auto& subject) {
                return subject.compare_boardID("/none");
            });
            return;
        case 4:
            sides.compare("UpdateCPLD", [](auto& subject) {
                return subject.UpdateCPLD("/i", fuzz::VersionPurpose::Other,
                                          "MB_CPLD");
            });
            return;
        default:
            sides.compare("getCPLDVersionString", [](auto& subject) {
                return subject.getCPLDVersionString("/device");
            });
    }
}

static void run(fuzz::Input input)
{
    constexpr std::array keys{"bindedDevices", "readMBVersionString",
                              "verifyCPLD",    "com.WEXA.Host",
                              "StartUnit",     "readImageFileInfo"};
    const auto which = input.below(6);
    fuzz::Answers answers{{"bindedDevices", fuzz::oneBoundDevice()}};
    answers[input.pick(keys)] = fuzz::rawAnswer(input);

    fuzz::SideBySide sides(std::move(answers));
    compareOperations(sides, which);
}

static const fuzz::Target target("raw_replies", run);
