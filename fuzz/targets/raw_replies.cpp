// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/as_text.hpp"
#include "../../tests/support/cpld_manager.hpp"
#include "../../tests/support/scripted_core_library.hpp"
#include "../support/answers.hpp"
#include "../support/expected.hpp"
#include "../support/session.hpp"

// Replies of any signature and any bytes, as a broken bus would hand them on,
// wherever the library reads one.

namespace
{

constexpr auto board = 258;
constexpr auto component = "MB_CPLD";

struct Reading
{
    std::string operation;
    fuzz::Arguments given;
    std::string (*expected)(fuzz::PlainReader& reader);
};

const std::vector<Reading>& readings()
{
    static const std::vector<Reading> all{
        {"getAvailableCpldCompsInfo", {}, fuzz::components},
        {"getCPLDImageFileInfo",
         {"/dev/null", component},
         [](fuzz::PlainReader& reader) {
             return fuzz::imageInfo(reader, component);
         }},
        {"VerifyCPLD",
         {"/i", component},
         [](fuzz::PlainReader& reader) {
             return fuzz::verdictOfDevice(reader, component);
         }},
        {"compare_boardID",
         {"/i"},
         [](fuzz::PlainReader& reader) {
             return test::asText(reader.number("com.WEXA.Host") == board);
         }},
        {"UpdateCPLD",
         {"/i", component},
         [](fuzz::PlainReader& reader) {
             return fuzz::verdict(reader.boolean("StartUnit"));
         }},
        {"getCPLDVersionString",
         {"/device"},
         [](fuzz::PlainReader& reader) {
             return test::asText(
                 reader.text("readMBVersionString").value_or(""));
         }},
    };
    return all;
}

void run(fuzz::Input input)
{
    constexpr std::array keys{"bindedDevices", "readMBVersionString",
                              "verifyCPLD",    "com.WEXA.Host",
                              "StartUnit",     "readImageFileInfo"};
    const auto& reading = input.pick(readings());
    fuzz::Answers answers{
        {"bindedDevices",
         {test::cpld_manager::registry({{component, "/mb", "jtag", {}}})}}};
    answers[input.pick(keys)] = fuzz::rawAnswer(input);

    test::ScriptedCoreLibrary core;
    core.board = board;
    fuzz::Session session(std::move(answers));
    fuzz::PlainReader reader;
    fuzz::requireSame(reading.operation, reading.expected(reader),
                      session.run(reading.operation, reading.given));
}

const fuzz::Target target("raw_replies", run);

} // namespace
