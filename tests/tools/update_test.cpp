// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "update_fixture.hpp"

#include <signal.h>

// A flash from its start to its end, on the real systemd manager. The tool
// reports success only where the image was flashed.

using namespace test;

namespace
{

TEST_F(Update, WritesTheImageByteForByteIntoTheFlash)
{
    const auto done = update();

    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out,
                testing::MatchesRegex(".*/bmc: flashed in [0-9]+\\.[0-9] s\n"));
    EXPECT_EQ(done.err, "flashing " + image + "\n");
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Update, FlashesTwiceInARow)
{
    EXPECT_EQ(update().status, 0);
    image = images.make("second", {"--kind", "bmc", "--version", "3"});
    EXPECT_EQ(update().status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Update, FlashesABiosImageAndACapsule)
{
    for (const auto* kind : {"bios", "capsule"})
    {
        std::vector<std::string> options{"--kind", kind, "--version", "1.4b"};
        if (std::string(kind) == "bios")
        {
            options.insert(options.end(), {"--board", "1"});
        }
        image = images.make(kind, options);
        const auto done = fwmgr({"update", "bios", image});

        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "flashing " + image + "\n");
        EXPECT_TRUE(bmc.flash("bios") == bytesOf(image));
    }
}

TEST_F(Update, LeavesTheFlashAndNoLockWhereItIsKilled)
{
    bmc.set("flash-time", "500");
    {
        auto tool = startedUpdate({"bmc", image});
        bmc.awaitFlash("bmc");
        tool.signal(SIGKILL);
        EXPECT_EQ(tool.wait().status, 128 + SIGKILL);
    }
    bmc.awaitFlashed("bmc", bytesOf(image));
    bmc.awaitIdle(unit());
    EXPECT_EQ(update().status, 0);
}

} // namespace
