// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/side_by_side.hpp"

// The registry of CPLD devices and the properties of an image, well-typed
// whatever they hold: keys that come again, types that are not listed, paths
// that are none.

static void run(fuzz::Input input)
{
    fuzz::Answers answers;
    for (const auto* key :
         {"bindedDevices", "readImageFileInfo", "readMBVersionString"})
    {
        answers[key] = fuzz::soundAnswer(input, key);
    }
    const auto component = input.text();

    fuzz::SideBySide sides(std::move(answers));
    sides.compare("getAvailableCpldCompsInfo", [](auto& subject) {
        return subject.getAvailableCpldCompsInfo();
    });
    sides.compare("getCPLDImageFileInfo", [&](auto& subject) {
        return subject.getCPLDImageFileInfo(component, "/dev/null");
    });
    sides.compare("getCPLDImageFileVersionString", [&](auto& subject) {
        return subject.getCPLDImageFileVersionString(component, "/dev/null");
    });
}

static const fuzz::Target target("registry", run);
