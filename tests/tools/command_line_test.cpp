// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

using namespace test;
using testing::HasSubstr;

namespace
{

class CommandLine : public testing::Test
{
  protected:
    static Completed fwmgr(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), fromEnvironment("WEXA_FWMGR"));
        return run(arguments);
    }

    static Completed refusal(const std::string& line)
    {
        return {wrongUsage, "",
                "wexa-fwmgr: " + line + "; see wexa-fwmgr --help\n"};
    }
};

TEST_F(CommandLine, NeedsAVerb)
{
    EXPECT_EQ(fwmgr({}),
              refusal("a verb: upload, verify, update or components is "
                      "required"));
}

TEST_F(CommandLine, RefusesAnUnknownVerb)
{
    EXPECT_EQ(fwmgr({"flash"}),
              refusal("The following argument was not expected: flash"));
}

TEST_F(CommandLine, RefusesAnUnknownOption)
{
    EXPECT_EQ(fwmgr({"verify", "bmc", "image", "--fast"}),
              refusal("The following argument was not expected: --fast"));
}

TEST_F(CommandLine, RefusesAnUnknownKind)
{
    EXPECT_EQ(fwmgr({"verify", "psu", "image"}),
              refusal("KIND: psu not in {bmc,bios,cpld}"));
}

TEST_F(CommandLine, NeedsTheComponentOfACpldImageAndOfNoOther)
{
    EXPECT_EQ(fwmgr({"verify", "cpld", "image"}),
              refusal("--component, which tells what the image is for, is "
                      "required"));
    EXPECT_EQ(fwmgr({"verify", "bmc", "image", "--component", "MB_CPLD"}),
              refusal("--component: is for cpld only; leave it away"));
}

TEST_F(CommandLine, NeedsAnImage)
{
    EXPECT_EQ(fwmgr({"verify", "bmc"}), refusal("IMAGE is required"));
}

TEST_F(CommandLine, RefusesATimeoutThatIsNone)
{
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", "0"}),
              refusal("--timeout: Value 0 not in range 1 to 86400"));
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", "soon"}),
              refusal("--timeout: Value soon not in range 1 to 86400"));
}

TEST_F(CommandLine, SaysThatTheBusCannotBeReached)
{
    const Images images;
    EXPECT_EQ(fwmgr({"--bus", "unix:path=/nonexistent", "verify", "bmc",
                     images.bmc("1")}),
              (Completed{callFailed, "",
                         "wexa-fwmgr: cannot reach the bus "
                         "unix:path=/nonexistent: No such file or directory; "
                         "start it, or name another with --bus\n"}));
    EXPECT_EQ(
        fwmgr({"--bus", "nonsense", "verify", "bmc", images.bmc("1")}),
        (Completed{callFailed, "",
                   "wexa-fwmgr: cannot reach the bus nonsense: Connection "
                   "refused; start it, or name another with --bus\n"}));
}

TEST_F(CommandLine, NamesTheBusByItsAddress)
{
    const Simulation bmc;
    const Images images;
    const auto image = images.bmc("1");

    EXPECT_EQ(fwmgr({"--bus", "unix:path=" + bmc.directory() + "/run/bus",
                     "verify", "bmc", image}),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(CommandLine, HelpsWithAnExampleForEachVerb)
{
    for (const std::string verb : {"upload", "verify", "update"})
    {
        const auto help = fwmgr({verb, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_THAT(help.out, HasSubstr("Example: wexa-fwmgr " + verb +
                                        " bmc /tmp/image\n"));
    }
}

} // namespace
