// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/same_calls.hpp"
#include "../support/side_by_side.hpp"

// What the core library may hand to the upload operations: numbers of any
// value, buffers of any bytes, with an end or without.

static int numberFrom(fuzz::Input& input)
{
    return input.flag() ? static_cast<int>(input.below(5)) - 1
                        : input.number<int>();
}

static void run(fuzz::Input input)
{
    test::ScriptedCoreLibrary core;
    core.capsuleKind = numberFrom(input);
    core.board = input.flag() ? 258 : numberFrom(input);
    core.versionResult = input.below(4) == 0 ? numberFrom(input) : 0;
    core.version = input.anyBytes(64);
    core.date = input.anyBytes(64);
    core.bmcVersion = input.anyText();

    auto answers = fuzz::anyAnswers(input);
    if (input.flag())
    {
        answers["com.WEXA.Host"] = {test::reply::shortVariant(258)};
    }
    const auto image = input.text();
    fuzz::SideBySide sides(std::move(answers));
    sides.compare("processUploadBiosImage", [&](auto& subject) {
        return subject.processUploadBiosImage(image, {}, "");
    });
    fuzz::requireSameCalls(core);
    sides.compare("processUploadBmcImage", [&](auto& subject) {
        return subject.processUploadBmcImage(image, {}, "");
    });
    fuzz::requireSameCalls(core);
}

static const fuzz::Target target("core_library", run);
