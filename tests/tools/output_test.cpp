// SPDX-License-Identifier: Apache-2.0
#include "../support/temporary_directory.hpp"
#include "tool_test.hpp"

#include <sys/mount.h>
#include <unistd.h>

// Output that cannot be written, and a flash that has no room.

using namespace test;

namespace
{

class Output : public ToolTest
{
  protected:
    /** The tool in a shell, as TOOL. */
    Completed shell(const std::string& command) const
    {
        return bmc.run({"bash", "-c",
                        "TOOL=" + fromEnvironment("WEXA_FWMGR") +
                            "; IMAGE=" + image + "; " + command});
    }

    /** The tool's errors and exit status, its output a pipe whose reader has
     *  ended before.
     */
    std::string intoAClosedPipe(const std::string& command) const
    {
        return shell("exec 3> >(true); wait $!; $TOOL " + command +
                     " >&3; echo $? >&2")
            .err;
    }

    std::string image = images.bmc("1");
};

TEST_F(Output, IntoAClosedPipeIsToldOfAndNotTakenForSuccess)
{
    for (const auto* verb : {"verify", "update"})
    {
        EXPECT_THAT(intoAClosedPipe(std::string(verb) + " bmc $IMAGE"),
                    testing::MatchesRegex(
                        "(flashing .*\n)?wexa-fwmgr: cannot write to standard "
                        "output: Broken pipe\n  outcome:  " +
                        image + ": .*\n1\n"));
    }
}

TEST_F(Output, IntoAClosedPipeLeavesTheStatusOfAFailure)
{
    EXPECT_EQ(intoAClosedPipe("verify bmc /nonexistent --json"),
              "wexa-fwmgr: cannot write to standard output: Broken "
              "pipe\n  outcome:  /nonexistent: No such file or "
              "directory\n2\n");
}

TEST_F(Output, OntoAFullDiskIsToldOf)
{
    const auto done = shell("$TOOL components --json >/dev/full");
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.err,
                testing::StartsWith("wexa-fwmgr: cannot write to standard "
                                    "output: No space left on device\n"));
}

TEST_F(Output, OfHelpAndVersionOntoAFullDiskIsToldOf)
{
    for (const std::string words : {"--help", "--version", "update --help"})
    {
        EXPECT_EQ(shell("$TOOL " + words + " >/dev/full"),
                  (Completed{1, "",
                             "wexa-fwmgr: cannot write to standard output: No "
                             "space left on device\n  outcome:  success\n"}))
            << words;
    }
}

TEST_F(Output, IntoAClosedStreamIsToldOfAndWritesToNoOtherFile)
{
    bmc.set("flash-time", "50");
    for (const std::string closed : {">&-", "<&- >&-"})
    {
        const auto done = shell("$TOOL update bmc $IMAGE " + closed);
        EXPECT_EQ(done.status, 1);
        EXPECT_THAT(done.err, testing::MatchesRegex(
                                  "flashing [^\n]*\nwexa-fwmgr: cannot write "
                                  "to standard output: Bad file descriptor\n"
                                  "  outcome:  " +
                                  image + ": flashed in [0-9.]+ s\n"));
    }
    EXPECT_EQ(shell("$TOOL update bmc $IMAGE <&- >&- 2>&-"),
              (Completed{1, "", ""}));
    EXPECT_EQ(shell("$TOOL verify bmc $IMAGE <&-"),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(Output, OfAMonitorIntoAClosedPipeEndsIt)
{
    bmc.set("flash-time", "50");
    const auto done = shell("{ $TOOL monitor; echo $? >&2; } | "
                            "{ head -n 1; exec <&-; "
                            "$TOOL update bmc $IMAGE >/dev/null; }");
    EXPECT_EQ(done.err, "flashing " + image +
                            "\nwexa-fwmgr: cannot write to standard output: "
                            "Broken pipe\n  outcome:  what happened could "
                            "not be shown\n1\n");
}

/** A disk of one megabyte, which only root may make. */
class SmallDisk
{
  public:
    SmallDisk()
    {
        if (mount("tmpfs", path().c_str(), "tmpfs", 0, "size=1m") != 0)
        {
            throw std::runtime_error("cannot mount a small disk");
        }
    }

    ~SmallDisk()
    {
        umount2(path().c_str(), MNT_DETACH);
    }

    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    std::string path() const
    {
        return directory.path();
    }

  private:
    TemporaryDirectory directory;
};

TEST(FullDisk, MakesTheFlashFailAndTheToolSayIt)
{
    SKIP_WITHOUT_MOUNTS();
    const Images images;
    const auto image = images.make(
        "big", {"--kind", "bmc", "--version", "1", "--size", "2000000"});
    const SmallDisk disk;
    const auto done = run(
        {"env", "TMPDIR=" + disk.path(), fromEnvironment("WEXA_BMCSIM"), "run",
         "--", fromEnvironment("WEXA_FWMGR"), "update", "bmc", image});
    EXPECT_EQ(done.status, flashFailed);
    EXPECT_EQ(done.out, "");
    EXPECT_THAT(done.err, testing::MatchesRegex(
                              "(.*\n)?wexa-fwmgr: " + image +
                              ": the flash failed: its program ended "
                              "with exit status 1/FAILURE\n  command:  [^\n]*\n"
                              "  hint:     [^\n]*\n"));
}

} // namespace
