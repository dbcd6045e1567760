// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>

// What the tool says on a board where the library, or the core library, is
// missing or is not what it should be.

using namespace test;

namespace
{

class MissingLibrary : public testing::Test
{
  protected:
    /** Another one found first under the name of the core library. */
    void replaceCoreLibrary(const std::string& source) const
    {
        writeBytes(libraries.file("core.cpp"), source);
        const auto built = run(
            {"c++", "-shared", "-fPIC", "-Wl,-soname,libwexacore.so.0", "-o",
             libraries.file("libwexacore.so.0"), libraries.file("core.cpp")});
        EXPECT_EQ(built.status, 0) << built.err;
    }

    Completed fwmgr(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), fromEnvironment("WEXA_FWMGR"));
        return run(arguments,
                   {"LD_PRELOAD=" + libraries.file("libwexacore.so.0")});
    }

    TemporaryDirectory libraries;
};

/** All but one of the routines. */
constexpr auto withoutCapsuleVersion = R"(
#include <string>
namespace wexa::core
{
std::string get_bmc_version_string_from_image(char*) { return {}; }
int get_bios_version_from_image(char*, char*, int, char*, int) { return -1; }
int get_bios_board_id(char*) { return -1; }
int check_bios_seamless_capsule(char*) { return -1; }
}
)";

TEST_F(MissingLibrary, ShowsTheDoctorWhichRoutineIsNotThere)
{
    replaceCoreLibrary(withoutCapsuleVersion);
    const auto done = fwmgr({"doctor", "--json", "--bus", "unix:path=/no"});
    EXPECT_EQ(done.status, notReady);
    EXPECT_EQ(violationsIn(done.out), "");
    const auto value = nlohmann::json::parse(done.out);
    std::vector<std::string> missing;
    for (const auto& finding : value["result"]["findings"])
    {
        const std::string what = finding["what"];
        if (finding["level"] == "failure" && finding["area"] == "libraries" &&
            what.find("has no routine") != std::string::npos)
        {
            missing.push_back(what);
        }
    }
    EXPECT_EQ(missing,
              (std::vector<std::string>{"libwexacore.so.0 has no routine "
                                        "get_capsule_version_from_image"}));
}

TEST_F(MissingLibrary, MakesEveryOtherVerbSayWhatIsMissing)
{
    replaceCoreLibrary(withoutCapsuleVersion);
    const auto done = fwmgr({"components"});
    EXPECT_EQ(done.status, callFailed);
    EXPECT_EQ(done.out, "");
    EXPECT_THAT(
        done.err,
        testing::MatchesRegex(
            "wexa-fwmgr: the library cannot be loaded: .*undefined symbol: "
            "_ZN4wexa4core30get_capsule_version_from_imageEPcS1_ii\n"
            "  hint:     install what is missing; wexa-fwmgr doctor shows all "
            "of it\n"));
}

} // namespace
