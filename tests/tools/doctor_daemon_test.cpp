// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>

#include <filesystem>

// A daemon that was built with other releases of the platform's libraries than
// the library does not find what it needs in it.

using namespace test;

namespace
{

constexpr auto library = "libwexa_fwmgr_internal.so.0";

/** As if the platform's types were in a namespace that no release has. */
constexpr auto declared = R"(
#include <string>
namespace another
{
class Bus
{};
enum class Purpose { BMC };
}
namespace wexa::core
{
class FWManagerInternal
{
  public:
    FWManagerInternal(another::Bus&);
    int VerifyBMC(std::string, another::Purpose, std::string);
    void onBMCUpdateSuccess();
};
}
)";
constexpr auto defined = R"(
namespace wexa::core
{
FWManagerInternal::FWManagerInternal(another::Bus&) {}
int FWManagerInternal::VerifyBMC(std::string, another::Purpose, std::string)
{
    return 0;
}
void FWManagerInternal::onBMCUpdateSuccess() {}
}
)";
constexpr auto body = R"(
    another::Bus bus;
    wexa::core::FWManagerInternal library(bus);
    library.onBMCUpdateSuccess();
    return library.VerifyBMC("", another::Purpose::BMC, "");
)";

class DoctorOfADaemon : public testing::Test
{
  protected:
    /** Findings about a daemon, as "level: what -> advice". */
    std::vector<std::string> findingsAbout(const std::string& daemon) const
    {
        const auto done = doctor({"--json", "--daemon", daemon});
        EXPECT_EQ(done.status, notReady); // there is no bus
        EXPECT_EQ(violationsIn(done.out), "");
        std::vector<std::string> found;
        const auto value = nlohmann::json::parse(done.out);
        for (const auto& finding : value["result"]["findings"])
        {
            if (finding["area"] == "daemon")
            {
                found.push_back(finding["level"].get<std::string>() + ": " +
                                finding["what"].get<std::string>() + " -> " +
                                finding["advice"].get<std::string>());
            }
        }
        return found;
    }

    Completed doctor(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{tool, "doctor", "--bus",
                                         "unix:path=/no"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run(command, environment);
    }

    /** Builds a daemon with another library of the same name.
     *
     *  @param declared  what the library has
     *  @param defined   the same, for the library
     *  @param body      of the daemon, which uses it
     */
    std::string built(const std::string& declared, const std::string& defined,
                      const std::string& body) const
    {
        const auto other = folder.file(library);
        writeBytes(folder.file("library.cpp"), declared + defined);
        const auto made = run({"c++", "-shared", "-fPIC",
                               "-Wl,-soname," + std::string(library), "-o",
                               other, folder.file("library.cpp")});
        EXPECT_EQ(made.status, 0) << made.err;
        const auto daemon = folder.file("daemon");
        writeBytes(folder.file("daemon.cpp"),
                   declared + "int main()\n{\n" + body + "}\n");
        const auto linked =
            run({"c++", "-o", daemon, folder.file("daemon.cpp"), other});
        EXPECT_EQ(linked.status, 0) << linked.err;
        return daemon;
    }

    std::string ofAnotherRelease() const
    {
        return built(declared, defined, body);
    }

    const std::string tool = fromEnvironment("WEXA_FWMGR");
    const std::string module = std::filesystem::path(tool).replace_filename(
        "wexa-fwmgr-operations.so");
    TemporaryDirectory folder;
    std::vector<std::string> environment;
};

constexpr auto buildAlike =
    "build the daemon and the library with the same releases of sdbusplus and "
    "phosphor-dbus-interfaces";

TEST_F(DoctorOfADaemon, IsContentWithOneThatFits)
{
    EXPECT_EQ(findingsAbout(module),
              (std::vector<std::string>{
                  "ok: " + module + " is linked with " + library + " -> ",
                  "ok: the library has what " + module + " uses -> "}));
}

TEST_F(DoctorOfADaemon, NamesWhatOneOfAnotherReleaseDoesNotFind)
{
    const auto daemon = ofAnotherRelease();
    const auto lacks = [&](const std::string& name) {
        return "failure: the library does not have wexa::core::"
               "FWManagerInternal::" +
               name + ", which " + daemon + " uses -> " + buildAlike;
    };
    EXPECT_THAT(findingsAbout(daemon),
                testing::UnorderedElementsAre(
                    "ok: " + daemon + " is linked with " + library + " -> ",
                    lacks("FWManagerInternal(another::Bus&)"),
                    lacks("VerifyBMC(std::__cxx11::basic_string<char, "
                          "std::char_traits<char>, std::allocator<char> >, "
                          "another::Purpose, std::__cxx11::basic_string<char, "
                          "std::char_traits<char>, std::allocator<char> >)")));
}

TEST_F(DoctorOfADaemon, DoesNotUnfoldANameThatCouldGrowWithoutBound)
{
    std::string references;
    for (auto number = 0; number < 21; ++number)
    {
        references += "S_";
    }
    const auto name = "_ZN4wexa4core17FWManagerInternal1fEi" + references;
    const auto daemon =
        built("void f() asm(\"" + name + "\");\n", "void f() {}\n", "f();\n");
    EXPECT_EQ(findingsAbout(daemon),
              (std::vector<std::string>{
                  "ok: " + daemon + " is linked with " + library + " -> ",
                  "failure: the library does not have " + name + ", which " +
                      daemon + " uses -> " + buildAlike}));
}

TEST_F(DoctorOfADaemon, RefusesOneThatIsNotLinkedWithTheLibrary)
{
    EXPECT_EQ(findingsAbout(tool),
              (std::vector<std::string>{
                  "failure: " + tool + " is not linked with " + library +
                  " -> name the program, or the library of it, that is"}));
}

TEST_F(DoctorOfADaemon, RefusesWhatIsNotAProgram)
{
    EXPECT_EQ(findingsAbout("/etc/passwd"),
              (std::vector<std::string>{
                  "failure: /etc/passwd is not an ELF file -> name the "
                  "program itself, not a script"}));
}

TEST_F(DoctorOfADaemon, SaysWhatItDidNotCheckWithoutTheLibrary)
{
    // It does not have what the tool uses.
    const auto daemon = ofAnotherRelease();
    environment = {"LD_PRELOAD=" + folder.file(library)};
    EXPECT_EQ(
        findingsAbout(daemon),
        (std::vector<std::string>{
            "ok: " + daemon + " is linked with " + library + " -> ",
            "not_checked: not checked: whether the library has what " + daemon +
                " uses, since the library cannot be loaded -> "}));
}

TEST_F(DoctorOfADaemon, IsSilentWhereNoDaemonIsNamed)
{
    EXPECT_EQ(doctor({}).out.find("\ndaemon\n"), std::string::npos);
}

} // namespace
