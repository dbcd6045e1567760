// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

#include <filesystem>

// `update --dry-run` shows the unit and makes no call.

using namespace test;

namespace
{

class DryRun : public testing::Test
{
  protected:
    static Completed plan(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(),
                         {fromEnvironment("WEXA_FWMGR"), "update"});
        arguments.insert(arguments.end(),
                         {"--dry-run", "--bus", "unix:path=/nonexistent"});
        return run(arguments);
    }

    std::string copyTo(const std::string& name) const
    {
        auto path = images.folder() + '/' + name;
        std::filesystem::copy_file(images.bmc("1"), path);
        return path;
    }

    /** As the name of a unit has it. */
    static std::string escaped(std::string path)
    {
        std::ranges::replace(path, '/', '-');
        return path;
    }

    Images images;
};

TEST_F(DryRun, ShowsTheUnitOfABmcImageAndThatThePathComesBack)
{
    const auto image = images.bmc("1");
    const auto unit = R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" +
                      escaped(image) + ".service";
    EXPECT_EQ(plan({"bmc", image}),
              (Completed{0,
                         "unit      " + unit + "\nlength    " +
                             std::to_string(unit.size()) +
                             " of 255 characters\n"
                             "systemd   can carry this name\n"
                             "instance  bmc_rot2 update " +
                             image +
                             "\npath      comes back to the unit as it is\n"
                             "image     is verified before it is flashed\n"
                             "nothing was started\n",
                         ""}));
}

TEST_F(DryRun, ShowsTheUnitOfACpldImageWithItsComponent)
{
    const auto image = images.bmc("1");
    const auto unit =
        R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20MB_CPLD\x20)" +
        escaped(image) + ".service";
    const auto done = plan({"cpld", image, "--component", "MB_CPLD"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out, testing::StartsWith("unit      " + unit + "\n"));
    EXPECT_THAT(done.out,
                testing::HasSubstr("\ninstance  cpld_rot2 update MB_CPLD " +
                                   image + "\n"));
}

TEST_F(DryRun, ShowsAPathThatDoesNotComeBackAndRefusesIt)
{
    const auto image = copyTo("a-b");
    const auto done = plan({"bios", image});
    EXPECT_EQ(done.status, wrongUsage);
    EXPECT_THAT(done.out, testing::HasSubstr("\nsystemd   can carry this name\n"
                                             "instance  bios_rot2 update " +
                                             images.folder() + "/a/b\n"));
    EXPECT_THAT(done.out, testing::EndsWith("\npath      does not come back to "
                                            "the unit as it is\n"
                                            "image     is verified before it "
                                            "is flashed\n"
                                            "nothing was started\n"));
    EXPECT_EQ(
        done.err,
        failureText(image + ": the flash unit would read each \"-\" as "
                            "\"/\"",
                    {"", {}, "", "move the image to a path without \"-\""}));
}

TEST_F(DryRun, ShowsANameThatSystemdCannotCarryAndRefusesIt)
{
    for (const auto& name : {std::string("a b"), std::string(200, 'x')})
    {
        const auto done = plan({"bmc", copyTo(name)});
        EXPECT_EQ(done.status, wrongUsage);
        EXPECT_THAT(done.out,
                    testing::HasSubstr("\nsystemd   cannot carry this name\n"));
        EXPECT_THAT(done.out, testing::EndsWith("nothing was started\n"));
    }
}

} // namespace
