// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"
#include "bmcsim_program.hpp"
#include "managed_flash.hpp"

#include <filesystem>

// The program that the flash units run.

using namespace test;
using testing::EndsWith;

namespace
{

class FlashWriter : public ManagedFlash
{
  protected:
    std::string log() const
    {
        return bytesOf(bmc.directory() + "/log/flash");
    }
};

INSTANTIATE_TEST_SUITE_P(Managers, FlashWriter,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_P(FlashWriter, LogsHowItEnded)
{
    const auto job = "flash: bmc_rot2 update " + image + ": ";
    bmc.set("flash", "fail");
    expectEnd("failed");
    EXPECT_EQ(log(), job + "the write to bmc failed when half was written\n");
    bmc.set("flash", "corrupt");
    expectEnd("failed");
    EXPECT_THAT(log(), EndsWith(job + "bmc does not hold what was written\n"));
    bmc.set("flash", "normal");
    expectEnd("done");
    EXPECT_THAT(log(), EndsWith("\nflash: " + image + " is written to bmc\n"));
}

TEST_P(FlashWriter, WritesOneBitWrongWhereItIsToldToCorrupt)
{
    bmc.set("flash", "corrupt");
    expectEnd("failed");
    auto expected = bytesOf(image);
    expected.front() = static_cast<char>(expected.front() ^ 1);
    EXPECT_TRUE(bmc.flash("bmc") == expected);
}

TEST_P(FlashWriter, KeepsTheBmcAliveWhateverTheComponentIsCalled)
{
    const auto named = [](const std::string& component) {
        return R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20)" + component +
               R"(\x20-bin-true.service)";
    };
    unit = named(R"(\xff\x0a\x1b)");
    expectEnd("done");
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "state"}).status, 0);
}

TEST_P(FlashWriter, IsFoundAgainWhereTheSimulatorWasBuiltAnew)
{
    const TemporaryDirectory directory;
    const auto simulator = directory.file("simulator");
    std::filesystem::copy(fromEnvironment("WEXA_BMCSIM"), simulator);
    EXPECT_EQ(run({simulator, "run", "--manager", GetParam(), "--set",
                   "flash-time=1", "--", "sh", "-c",
                   "cp " + simulator + " " + simulator + ".new && mv " +
                       simulator + ".new " + simulator + " && " + simulator +
                       " set flash-timeout 60000 && exec " +
                       fromEnvironment("WEXA_FWMGR") + " update bmc " + image},
                  {})
                  .status,
              0);
}

TEST(FlashWriterOfTheRealManager, SeesImagesInRun)
{
    SKIP_WITHOUT_SYSTEMD();
    const Images images;
    const auto flash = " run --set flash-time=1 -- " +
                       fromEnvironment("WEXA_FWMGR") +
                       " update bmc /run/images/image";
    for (const auto* systemd : {"", " /run/systemd"})
    {
        EXPECT_EQ(run({"unshare", "--mount", "sh", "-c",
                       "mount -t tmpfs none /run && mkdir /run/images" +
                           std::string(systemd) + " && cp " + images.bmc("1") +
                           " /run/images/image && exec " +
                           fromEnvironment("WEXA_BMCSIM") + flash})
                      .status,
                  0);
    }
}

// What a sanitizer needs is not there.
#ifndef WEXA_SANITIZED
TEST(FlashWriterAlone, NeedsTheSameMemoryForAnImageOfAnySize)
{
    const Simulation bmc({"--manager", "builtin", "--set", "flash-time=1"});
    const TemporaryDirectory directory;
    const auto image = directory.file("image");
    constexpr std::uintmax_t size = 268435456;
    writeBytes(image, "x");
    std::filesystem::resize_file(image, size);

    EXPECT_EQ(run({"prlimit", "--as=134217728", fromEnvironment("WEXA_BMCSIM"),
                   "write-flash", bmc.directory(), "bmc_rot2 update " + image}),
              (Completed{0, "flash: " + image + " is written to bmc\n", ""}));

    EXPECT_EQ(std::filesystem::file_size(bmc.directory() + "/flash/bmc"), size);
}
#endif

TEST(FlashWriterAlone, SaysWhatIsWrong)
{
    EXPECT_EQ(runBmcsim({"write-flash", "/nonexistent", "bmc_rot2 update /a"}),
              (Completed{1, "",
                         "flash: bmc_rot2 update /a: cannot read "
                         "/nonexistent/flash.settings\n"}));
}

} // namespace
