// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <filesystem>

// How scripts/prepare comes to its packages; of all, only meson is missing.

using namespace test;

namespace
{

class Prepare : public testing::Test
{
  protected:
    Prepare()
    {
        for (const std::string program :
             {"bash", "cat", "dirname", "env", "mktemp", "rm", "sed", "sh"})
        {
            std::filesystem::create_symlink("/bin/" + program,
                                            directory.file(program));
        }
        replace("dpkg-query",
                "[ \"$3\" = meson ] || echo -n install ok installed");
    }

    /** Takes the place of a program; a script of the shell. */
    void replace(const std::string& program, const std::string& script) const
    {
        const auto file = directory.file(program);
        writeBytes(file, "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }

    void becomeUser(int number) const
    {
        replace("id", "echo " + std::to_string(number));
    }

    /** Programs that only write down what they were called with. */
    void replaceApt(const std::string& end = "exit 0") const
    {
        replace("apt-get", "echo apt-get \"$*\" >>" + calls() + "; " + end);
    }

    std::string calls() const
    {
        return directory.file("calls");
    }

    Completed prepare() const
    {
        return run(
            {fromEnvironment("WEXA_SOURCES") + "/scripts/prepare", "build"},
            {"PATH=" + directory.path().string()});
    }

    TemporaryDirectory directory;
};

const std::string byHand =
    "install them as root: apt-get install --yes --no-install-recommends "
    "meson\n";
const std::string installed =
    "apt-get update\n"
    "apt-get install --yes --no-install-recommends meson\n";

TEST_F(Prepare, SaysNothingWhereNoPackageIsMissing)
{
    replace("dpkg-query", "echo -n install ok installed");
    EXPECT_EQ(prepare(), (Completed{0, "", ""}));
}

TEST_F(Prepare, InstallsAsRoot)
{
    becomeUser(0);
    replaceApt();
    EXPECT_EQ(prepare(), (Completed{0, "== installing meson\n", ""}));
    EXPECT_EQ(bytesOf(calls()), installed);
}

TEST_F(Prepare, InstallsWithSudoAsAnotherUser)
{
    becomeUser(1000);
    replaceApt();
    replace("sudo",
            "echo sudo >>" + calls() + "; [ \"$1\" != -- ] || shift; \"$@\"");
    EXPECT_EQ(prepare(),
              (Completed{0, "== installing with sudo: meson\n", ""}));
    EXPECT_EQ(bytesOf(calls()), "sudo\n" + installed);
}

TEST_F(Prepare, NamesThePackagesToAUserWithoutSudo)
{
    becomeUser(1000);
    replaceApt();
    EXPECT_EQ(prepare(),
              (Completed{1, "",
                         "prepare: packages are missing, and there is no "
                         "sudo; " +
                             byHand}));
    EXPECT_FALSE(std::filesystem::exists(calls()));
}

TEST_F(Prepare, ShowsWhyAptFailedAndWhatToDo)
{
    becomeUser(0);
    replaceApt("echo E: no network >&2; exit 100");
    const auto prepared = prepare();
    EXPECT_EQ(prepared.status, 1);
    EXPECT_EQ(prepared.out, "== installing meson\n");
    EXPECT_TRUE(prepared.err.starts_with("E: no network\n")) << prepared.err;
    EXPECT_TRUE(prepared.err.ends_with(
        "\nprepare: packages could not be installed; look at apt-get's errors "
        "above and at the network, or " +
        byHand))
        << prepared.err;
}

TEST_F(Prepare, NamesThePackagesWhereThereIsNoApt)
{
    EXPECT_EQ(prepare(), (Completed{1, "",
                                    "prepare: no apt-get here; this needs the "
                                    "Debian packages meson\n"}));
}

} // namespace
