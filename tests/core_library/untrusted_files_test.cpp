// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "answers.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

// Nothing that a file holds, or is, does more than to be refused.

using namespace test;

namespace
{

class UntrustedFile : public testing::TestWithParam<const char*>
{
  protected:
    UntrustedFile() :
        path(images.make("sound", {"--kind", GetParam(), "--version", "1.7",
                                   "--date", "today", "--size", "16"})),
        sound(bytesOf(path))
    {}

    Answers askWith(const std::string& bytes) const
    {
        writeBytes(path, bytes);
        return ask(path);
    }

    Images images;
    std::string path;
    std::string sound;
};

INSTANTIATE_TEST_SUITE_P(Kinds, UntrustedFile,
                         testing::Values("bmc", "bios", "capsule", "cpld"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

class BrokenImage : public testing::TestWithParam<const char*>
{};

INSTANTIATE_TEST_SUITE_P(Faults, BrokenImage,
                         testing::Values("empty", "header-only", "truncated",
                                         "trailing", "magic", "kind",
                                         "no-version", "unprintable-version",
                                         "version-length", "payload-length"));

TEST_P(BrokenImage, IsNoImage)
{
    const Images images;
    for (const auto* kind : {"bmc", "bios", "capsule", "cpld"})
    {
        EXPECT_EQ(ask(images.make(kind, {"--kind", kind, "--version", "1.7",
                                         "--broken", GetParam()})),
                  noImage)
            << kind;
    }
}

TEST(BrokenDigest, IsNotWhatTheRoutinesLookAt)
{
    const Images images;
    EXPECT_EQ(ask(images.make("bmc", {"--kind", "bmc", "--version", "1.7",
                                      "--broken", "digest"}))
                  .bmcVersion,
              "1.7");
}

TEST_P(UntrustedFile, OfEveryShorterLengthIsRefused)
{
    ASSERT_FALSE(askWith(sound) == noImage);
    for (std::size_t length = 0; length < sound.size(); ++length)
    {
        EXPECT_EQ(askWith(sound.substr(0, length)), noImage) << length;
    }
}

TEST_P(UntrustedFile, WithAChangedByteOfItsFramingIsRefused)
{
    // Magic, format, kind, and the three lengths.
    for (const std::size_t offset : {0,  3,  7,  8,  9,  10, 11, 13, 16, 17,
                                     18, 19, 24, 25, 26, 27, 28, 29, 30, 31})
    {
        for (const auto bit : {0, 7})
        {
            auto changed = sound;
            changed[offset] = static_cast<char>(changed[offset] ^ 1 << bit);
            EXPECT_EQ(askWith(changed), noImage) << offset;
        }
    }
}

TEST_P(UntrustedFile, WithAnyByteChangedIsReadWithinItsBounds)
{
    for (std::size_t offset = 0; offset < sound.size(); ++offset)
    {
        for (const auto value : {0x00, 0x01, 0x7f, 0x80, 0xff})
        {
            auto changed = sound;
            changed[offset] = static_cast<char>(value);
            const auto answers = askWith(changed);
            // Either refused or taken for an image of three characters.
            EXPECT_TRUE(answers == noImage || answers.capsuleKind >= 0)
                << offset;
            EXPECT_LE(answers.bmcVersion.size(), 3U) << offset;
        }
    }
}

TEST_P(UntrustedFile, WithTextThatIsNotPrintableAsciiIsRefused)
{
    constexpr auto version = 32;
    constexpr auto date = version + 3;
    for (const auto offset : {version, version + 2, date, date + 4})
    {
        for (const auto value : {0x00, 0x1f, 0x7f, 0x80, 0xff})
        {
            auto changed = sound;
            changed[offset] = static_cast<char>(value);
            EXPECT_EQ(askWith(changed), noImage) << offset << ' ' << value;
        }
    }
}

TEST_P(UntrustedFile, ThatIsSparseAndHugeIsRefused)
{
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
    EXPECT_EQ(ask(path), noImage);
}

TEST_P(UntrustedFile, ThatIsMissingIsRefused)
{
    EXPECT_EQ(ask(images.missing()), noImage);
    EXPECT_EQ(ask(path + "/inside"), noImage);
}

TEST_P(UntrustedFile, ThatIsADirectoryOrADeviceIsRefused)
{
    EXPECT_EQ(ask(images.folder()), noImage);
    EXPECT_EQ(ask(std::string("/dev/zero")), noImage);
}

TEST_P(UntrustedFile, ThatIsAFifoIsRefusedWithoutWaiting)
{
    const auto fifo = images.folder() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(ask(fifo), noImage);
}

TEST_P(UntrustedFile, ThatMayNotBeReadIsRefused)
{
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    // Root may read all files.
    const auto caller = geteuid();
    if (caller == 0)
    {
        ASSERT_EQ(chmod(images.folder().c_str(), 0755), 0);
        ASSERT_EQ(seteuid(65534), 0);
    }
    const auto answers = ask(path);
    ASSERT_EQ(seteuid(caller), 0);
    EXPECT_EQ(answers, noImage);
}

TEST_P(UntrustedFile, ThroughALinkIsReadAsItsTarget)
{
    const auto link = images.folder() + "/link";
    std::filesystem::create_symlink(path, link);
    EXPECT_EQ(ask(link), ask(path));
    EXPECT_FALSE(ask(link) == noImage);
    std::filesystem::remove(path);
    EXPECT_EQ(ask(link), noImage);
}

} // namespace
