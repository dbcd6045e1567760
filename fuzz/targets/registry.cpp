// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/expected.hpp"
#include "../support/session.hpp"

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

    fuzz::Session session(std::move(answers));
    fuzz::PlainReader reader;
    const fuzz::Arguments image{"/dev/null", component};
    fuzz::requireSame("the components", fuzz::components(reader),
                      session.run("getAvailableCpldCompsInfo", {}));
    fuzz::requireSame("the image", fuzz::imageInfo(reader, component),
                      session.run("getCPLDImageFileInfo", image));
    session.run("getCPLDImageFileVersionString", image);
}

static const fuzz::Target target("registry", run);
