// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/pattern.hpp"
#include "../support/session.hpp"

// What the core library may hand to the upload operations: numbers of any
// value, buffers of any bytes, with an end or without.

static int numberFrom(fuzz::Input& input)
{
    return input.flag() ? static_cast<int>(input.below(5)) - 1
                        : input.number<int>();
}

static void upload(fuzz::Session& session, const std::string& operation,
                   const std::string& image, const std::string& version)
{
    const auto result = session.run(operation, {image});
    if (result != "{}" &&
        !fuzz::fits(result, "{...version: \"" + version + "\"}"))
    {
        fuzz::fail("the version is " + version + ", not as in " + result);
    }
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
    const auto version = core.version->substr(0, core.version->find('\0'));
    fuzz::Session session(std::move(answers));
    upload(session, "processUploadBiosImage", image, version);
    upload(session, "processUploadBmcImage", image, *core.bmcVersion);
}

static const fuzz::Target target("core_library", run);
