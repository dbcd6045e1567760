// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/as_text.hpp"
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/expected.hpp"
#include "../support/session.hpp"

// What services answer to one operation: values of any type, errors, nothing;
// or they are not there.

using fuzz::VersionPurpose;

namespace
{

std::string verdictOn(std::size_t which, VersionPurpose purpose,
                      const std::string& component, fuzz::PlainReader& reader)
{
    constexpr std::array members{"verifyBmc", "verifyBios", "verifyCapsule"};
    if (which == members.size())
    {
        return fuzz::verdictOfDevice(reader, component);
    }
    if (which == 0 && purpose > VersionPurpose::PSU)
    {
        return "invalid_argument";
    }
    return which == 0 && purpose != VersionPurpose::BMC
               ? "-22"
               : fuzz::verdict(reader.boolean(members[which]));
}

void verify(fuzz::Session& session, std::size_t which, VersionPurpose purpose)
{
    constexpr auto component = "MB_CPLD";
    fuzz::PlainReader reader;
    fuzz::requireSame(
        "a verification", verdictOn(which, purpose, component, reader),
        session.run(fuzz::operations()[which], {"/i", component, purpose}));
}

void launch(fuzz::Session& session, std::size_t which)
{
    constexpr auto cpld = fuzz::launches - 1;
    fuzz::PlainReader reader;
    const auto expected = which == cpld
                              ? fuzz::verdict(reader.boolean("StartUnit"))
                          : reader.reply("StartUnit") != nullptr ? "0"
                                                                 : "-5";
    fuzz::requireSame(
        "a launch", expected,
        session.run(fuzz::operations()[fuzz::verifications + which],
                    {"/i", "C"}));
    fuzz::requireSame("the end", "1",
                      session.finish(session.launched(), "done"));
}

void readProperties(fuzz::Session& session, fuzz::Input& input)
{
    test::ScriptedCoreLibrary core;
    core.board = input.number<std::uint16_t>();
    core.capsuleKind = 1;
    core.versionResult = 0;
    fuzz::PlainReader reader;
    fuzz::requireSame(
        "the comparison of boards",
        test::asText(reader.number("com.WEXA.Host") == core.board),
        session.run("compare_boardID", {"/i"}));
    session.run("processUploadBiosImage", {"/i"});
}

void run(fuzz::Input input)
{
    const auto which = input.below(8);
    fuzz::Session session(fuzz::anyAnswers(input));
    if (which < fuzz::verifications)
    {
        verify(session, which, static_cast<VersionPurpose>(input.below(8)));
    }
    else if (which < fuzz::verifications + fuzz::launches)
    {
        launch(session, which - fuzz::verifications);
    }
    else
    {
        readProperties(session, input);
    }
}

const fuzz::Target target("replies", run);

} // namespace
