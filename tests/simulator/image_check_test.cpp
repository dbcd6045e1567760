// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/image_check.hpp"
#include "../support/bytes.hpp"
#include "../support/images.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

using bmcsim::authenticate;

namespace
{

const test::Images images;

TEST(ImageCheck, AcceptsWhatTheImageMakerMakes)
{
    const auto image = authenticate(images.make(
        "sound", {"--kind", "bmc", "--version", "2.14.0", "--date", "today"}));

    ASSERT_TRUE(image);
    EXPECT_EQ(image->kind, bmcsim::imageKind::bmc);
    EXPECT_EQ(image->version, "2.14.0");
}

TEST(ImageCheck, RefusesEveryKindOfBrokenImage)
{
    for (const auto* how :
         {"empty", "header-only", "truncated", "trailing", "magic",
          "no-version", "version-length", "payload-length", "digest"})
    {
        EXPECT_FALSE(authenticate(
            images.make("broken", {"--kind", "bmc", "--version", "1",
                                   "--broken", how, "--force"})))
            << how;
    }
}

TEST(ImageCheck, RefusesAnImageWithAnyByteChanged)
{
    const auto path = images.make(
        "small", {"--kind", "bmc", "--version", "1", "--size", "16"});
    const auto bytes = test::bytesOf(path);
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        auto changed = bytes;
        changed[i] = static_cast<char>(changed[i] ^ 0x40);
        test::writeBytes(path, changed);
        EXPECT_FALSE(authenticate(path)) << "byte " << i;
    }
}

TEST(ImageCheck, RefusesWhatIsNoRegularFile)
{
    const auto fifo = images.folder() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);

    for (const auto& path : {images.folder(), images.missing(), fifo,
                             std::string("/dev/zero"), std::string()})
    {
        EXPECT_FALSE(authenticate(path)) << path;
    }
}

} // namespace
