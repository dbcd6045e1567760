// SPDX-License-Identifier: Apache-2.0
#include "scripted_board.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

// What services, paths and arguments say reaches a terminal as plain text: it
// neither moves the cursor nor makes lines of its own.

using namespace test;
using nlohmann::json;

namespace
{

/** Clears the screen, and what is to look like a line of the tool's. */
constexpr auto hostile = "\x1b[2J\nwexa-fwmgr: forged\xe2\x80\xae";
constexpr auto shown = R"(\x1b[2J\x0awexa-fwmgr: forged\u202e)";

class ForeignText : public ScriptedBoard
{
  protected:
    void offerHostileCpld()
    {
        offerCplds({{hostile,
                     "/cpld",
                     "jtag",
                     {cpld_manager::text("vendor", hostile),
                      cpld_manager::text(hostile, "WEXA")}}},
                   hostile);
    }

    void offerSecurityManager(const Reply& reply)
    {
        offer(security_manager::service,
              {security_manager::method("verifyBmc", reply)});
    }

    /** The path of a sound image in a folder with a hostile name. */
    std::string hostilePath()
    {
        const auto folder = images.folder() + '/' + hostile;
        std::filesystem::create_directory(folder);
        std::filesystem::rename(images.bmc("1"), folder + "/bmc");
        return folder + "/bmc";
    }

    /** The same as the tool shows it. */
    std::string shownPath() const
    {
        return images.folder() + '/' + shown + "/bmc";
    }

    std::string warning() const
    {
        return "wexa-fwmgr: warning: update refuses " + shownPath() + ": " +
               dash + "\n  hint:     " + noDash + '\n';
    }
};

TEST_F(ForeignText, OfComponentsIsShownPlainInColumnsAsWide)
{
    offerHostileCpld();
    const std::string wide(std::string(shown).size() - 6, ' ');

    EXPECT_EQ(fwmgr({"components"}),
              (Completed{0,
                         std::string(shown) + "    " + shown + "\n  " + shown +
                             "  WEXA\n  vendor" + wide + "  " + shown + '\n',
                         ""}));
}

TEST_F(ForeignText, OfComponentsIsAsciiInJson)
{
    offerHostileCpld();
    const auto done = fwmgr({"components", "--json"});

    EXPECT_TRUE(std::ranges::all_of(
        done.out, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
    EXPECT_EQ(
        json::parse(done.out)["result"],
        (json{{"components",
               {{hostile,
                 {{"version", hostile},
                  {"version_unknown", nullptr},
                  {"properties", {{"vendor", hostile}, {hostile, "WEXA"}}},
                  {"unread", json::object()}}}}}}));
}

TEST_F(ForeignText, OfComponentsIsShownPlainInAHint)
{
    offerHostileCpld();

    EXPECT_EQ(
        fwmgr({"verify", "cpld", images.bmc("1"), "--component", hostile + 1}),
        refusal(wrongUsage,
                "the board has no CPLD component '" + std::string(shown + 4) +
                    "'",
                "name one of these: " + std::string(shown)));
}

TEST_F(ForeignText, OfAnErrorStaysOnTheLineOfTheLibrary)
{
    offerSecurityManager(
        reply::error("com.example.Odd", "\x1b[2J\nVerify false"));
    const auto image = images.bmc("1");
    const std::string line =
        "Error in security method call for (/xyz/openbmc_project/security, "
        "xyz.openbmc_project.security.SecurityManager: sd_bus_call: "
        "com.example.Odd: \\x1b[2J\\x0aVerify false";
    const auto expected = refusal(callFailed, image + ": could not be verified",
                                  {bySecurityManager,
                                   {line},
                                   "com.example.Odd",
                                   "look at what the service itself logged"});

    EXPECT_EQ(fwmgr({"verify", "bmc", image}), expected);
    EXPECT_EQ(fwmgr({"verify", "bmc", image, "--verbose"}),
              (Completed{callFailed, "",
                         "int wexa::core::FWManagerInternal::VerifyBMC("
                         "std::string, "
                         "wexa::core::VersionPurpose, "
                         "std::string)\nverify image: " +
                             image + '\n' + line + '\n' + expected.err}));
}

TEST_F(ForeignText, OfAPathIsShownPlain)
{
    offerSecurityManager(reply::boolean(true));

    EXPECT_EQ(
        fwmgr({"verify", "bmc", hostilePath()}),
        (Completed{0, shownPath() + ": authentic BMC image\n", warning()}));
}

TEST_F(ForeignText, OfAPathIsShownPlainWhereItIsRefused)
{
    offerSecurityManager(reply::boolean(false));

    EXPECT_EQ(fwmgr({"verify", "bmc", hostilePath()}),
              refusal(imageRefused, shownPath() + ": not authentic",
                      {bySecurityManager, {"Verify false"}, "", getAnother}));
}

TEST_F(ForeignText, OfAPathIsShownPlainWhereStandardOutputIsFull)
{
    offerSecurityManager(reply::boolean(true));
    const auto done = run({"bash", "-c", "\"$0\" verify bmc \"$1\" >/dev/full",
                           fromEnvironment("WEXA_FWMGR"), hostilePath()},
                          environment());

    EXPECT_EQ(done,
              (Completed{1, "",
                         warning() +
                             "wexa-fwmgr: cannot write to standard output: No "
                             "space left on device\n  outcome:  " +
                             shownPath() + ": authentic BMC image\n"}));
}

TEST_F(ForeignText, OfAPathIsShownPlainInAPlan)
{
    const auto path = hostilePath();
    auto inUnit = shownPath();
    std::ranges::replace(inUnit, '/', '-');
    auto instance = shownPath();
    std::ranges::replace(instance, '-', '/');
    const auto length =
        std::string(R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20.service)")
            .size() +
        path.size();

    EXPECT_EQ(fwmgr({"update", "bmc", path, "--dry-run"}),
              (Completed{
                  wrongUsage,
                  R"(unit      obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" +
                      inUnit + ".service\nlength    " + std::to_string(length) +
                      " of 255 characters\n"
                      "systemd   cannot carry this name\n"
                      "instance  bmc_rot2 update " +
                      instance +
                      "\npath      does not come back to the unit as it is\n"
                      "image     is verified before it is flashed\n"
                      "nothing was started\n",
                  failureText(shownPath() + ": " + dash,
                              Reason{"", {}, "", noDash})}));
}

TEST_F(ForeignText, OfAnArgumentIsShownPlain)
{
    EXPECT_EQ(fwmgr({hostile}),
              refusal(wrongUsage,
                      "The following argument was not expected: " +
                          std::string(shown),
                      "see wexa-fwmgr --help"));
}

TEST_F(ForeignText, OfADirectoryIsShownPlainByTheDoctor)
{
    const auto folder = images.folder() + '/' + hostile;
    EXPECT_THAT(fwmgr({"doctor", "--images", folder}).out,
                testing::HasSubstr("\n  FAILURE  " + images.folder() + '/' +
                                   shown +
                                   " is not a directory that can be read\n"));
}

} // namespace
