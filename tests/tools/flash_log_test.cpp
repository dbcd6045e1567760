// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"
#include "schema.hpp"
#include "update_fixture.hpp"

#include <nlohmann/json.hpp>

#include <filesystem>

// Of a flash that fails the tool shows what its program logged last: from a
// journal, or from a file.

using namespace test;

namespace
{

class FlashLog : public Update
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_MOUNTS();
    }

    /** A flash unit that runs a script of the shell. */
    void replaceProgram(const std::string& script,
                        const std::string& settings = "") const
    {
        writeBytes(program(), script);
        bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n"
                             "[Service]\nType=oneshot\nExecStart=/bin/bash " +
                             program() + '\n' + settings);
    }

    std::string program() const
    {
        return images.folder() + "/program";
    }

    /** The tool, where the journals of the system are those below `logs`. */
    Completed updateBeside(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> command{
            "unshare",
            "--mount",
            "sh",
            "-c",
            "mount --bind \"$0\" /var/log && "
            "{ [ ! -d /run/log ] || mount --bind \"$0\" /run/log; } && "
            "exec \"$@\"",
            logs.path(),
            fromEnvironment("WEXA_FWMGR"),
            "update",
            "bmc",
            image};
        command.insert(command.end(), more.begin(), more.end());
        return bmc.run(command);
    }

    Completed failed(const std::vector<std::string>& log,
                     const std::string& unknown = "") const
    {
        auto text = failureText(
            image + ": the flash failed: its program ended "
                    "with exit status 7",
            {"", {}, "", seeLog(), "", {"/bin/bash " + program()}, log});
        if (!unknown.empty())
        {
            text.insert(text.find("  hint:"),
                        "  log:      not known: " + unknown + '\n');
        }
        return {flashFailed, "", "flashing " + image + '\n' + text};
    }

    /** Where the system keeps its journals. */
    std::string journal() const
    {
        auto id = bytesOf("/etc/machine-id");
        id.pop_back();
        const auto directory = logs.path() / "journal" / id;
        std::filesystem::create_directories(directory);
        return directory / "flash.journal";
    }

    TemporaryDirectory logs;

    /** An entry without it is not imported. */
    const std::string boot = "_BOOT_ID=0123456789abcdef0123456789abcdef\\n";
};

TEST_F(FlashLog, IsTheEndOfItsOwnRunInTheJournal)
{
    // As the journal records what a unit says, with another run behind it.
    replaceProgram(
        "entry() { printf '__REALTIME_TIMESTAMP=%s\\n" + boot +
        "_SYSTEMD_INVOCATION_ID=%s\\nMESSAGE=%s\\n\\n' "
        "\"170000000000000$1\" \"$2\" \"$3\"; }\n"
        "{ for i in 1 2 3 4 5 6; do\n"
        "    entry $i $INVOCATION_ID \"block $i $(printf '\\033')\"\n"
        "  done\n"
        "  entry 7 ffffffffffffffffffffffffffffffff other\n"
        "} | /lib/systemd/systemd-journal-remote --output=" +
        journal() +
        " - || exit 1\n"
        "exit 7\n");

    EXPECT_EQ(updateBeside(),
              failed({"block 2 \\x1b", "block 3 \\x1b", "block 4 \\x1b",
                      "block 5 \\x1b", "block 6 \\x1b"}));
}

TEST_F(FlashLog, IsEmptyWhereTheJournalHoldsNoneOfItsRun)
{
    replaceProgram("printf '__REALTIME_TIMESTAMP=1700000000000000\\n" + boot +
                   "_SYSTEMD_INVOCATION_ID=ffffffffffffffffffffffffffffffff\\n"
                   "MESSAGE=other\\n\\n' | "
                   "/lib/systemd/systemd-journal-remote --output=" +
                   journal() +
                   " - || exit 1\n"
                   "exit 7\n");

    EXPECT_EQ(updateBeside(), failed({}));
}

TEST_F(FlashLog, IsNotKnownWithoutAJournalAndAFile)
{
    replaceProgram("exit 7\n");
    const auto unknown = "no journal can be read, and " +
                         unitTemplate("obmc-flash-bmc-rot2") +
                         " sends the output to no file";

    EXPECT_EQ(updateBeside(), failed({}, unknown));
    const auto done = updateBeside({"--json"});
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(nlohmann::json::parse(done.out)["error"]["log_unknown"], unknown);
}

TEST_F(FlashLog, IsThatOfTheFileWithoutAJournal)
{
    const auto file = logs.file("flash");
    replaceProgram("echo first; echo last; exit 7\n",
                   "StandardOutput=append:" + file + '\n');

    EXPECT_EQ(updateBeside(), failed({"first", "last"}));
}

TEST_F(FlashLog, IsNotKnownWhereTheFileCannotBeRead)
{
    // The built-in manager does not truncate.
    SKIP_WITHOUT_SYSTEMD();
    const auto file = logs.file("flash");
    replaceProgram("rm " + file + "; exit 7\n",
                   "StandardOutput=truncate:" + file + '\n');

    EXPECT_EQ(updateBeside(),
              failed({}, file + ", which has the output, cannot be read"));
}

} // namespace
