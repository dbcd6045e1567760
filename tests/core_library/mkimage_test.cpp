// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace test;
using namespace std::literals;

namespace
{

class Mkimage : public testing::Test
{
  protected:
    Completed mkimage(std::vector<std::string> words) const
    {
        words.insert(words.begin(), fromEnvironment("WEXA_MKIMAGE"));
        return run(words);
    }

    /** Makes a BMC image of version 1, with more options. */
    Completed bmc(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words{"--kind", "bmc", "--version", "1"};
        words.insert(words.end(), more.begin(), more.end());
        words.push_back(output);
        return mkimage(words);
    }

    static Completed failed(int status, const std::string& line)
    {
        return {status, "", "wexa-mkimage: " + line + "\n"};
    }

    static Completed usage(const std::string& line)
    {
        return failed(2, line + "; see wexa-mkimage --help");
    }

    /** The first word that sha256sum prints for these bytes. */
    std::string sha256(const std::string& bytes) const
    {
        const auto file = directory.file("hashed");
        writeBytes(file, bytes);
        return run({"sha256sum", file}).out.substr(0, 64);
    }

    /** A digest in bytes, from hexadecimal. */
    static std::string bytesOfHex(const std::string& hex)
    {
        std::string bytes;
        for (std::size_t i = 0; i < hex.size(); i += 2)
        {
            bytes +=
                static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        }
        return bytes;
    }

    TemporaryDirectory directory;
    std::string output = directory.file("image");
};

TEST_F(Mkimage, ShowsPathsAndArgumentsPlain)
{
    output = directory.file("a\x1b[2J\nforged");
    const auto shown = directory.file(R"(a\x1b[2J\x0aforged)");
    const auto made = bmc({"--size", "1"});
    // All but the digest itself.
    const auto covered = bytesOf(output).substr(0, 66 - 32);
    EXPECT_EQ(made, (Completed{0,
                               shown + ": 66 bytes, version 1, SHA-256 " +
                                   sha256(covered) + '\n',
                               ""}));
    EXPECT_EQ(bmc(), failed(1, shown + " exists; --force replaces it"));
    EXPECT_EQ(bmc({"--forged\x1b\n"}),
              usage("The following argument was not expected: "
                    "--forged\\x1b\\x0a"));
}

TEST_F(Mkimage, WritesEveryFieldWhereTheFormatHasIt)
{
    const auto payload = directory.file("payload");
    writeBytes(payload, "\x00\xff payload"s);
    const auto covered = "WEXAFWIM"
                         "\x01\x00\x03\x00\x02\x00\xfe\xca"
                         "\x03\x00\x05\x00\x00\x00\x00\x00"
                         "\x0a\x00\x00\x00\x00\x00\x00\x00"
                         "1.7today\x00\xff payload"s;
    const auto digest = sha256(covered);

    EXPECT_EQ(
        mkimage({"--kind", "capsule", "--capsule-kind", "2", "--board", "51966",
                 "--version", "1.7", "--date", "today", "--payload", payload,
                 output}),
        (Completed{0,
                   output + ": 82 bytes, version 1.7, SHA-256 " + digest + "\n",
                   ""}));
    EXPECT_TRUE(bytesOf(output) == covered + bytesOfHex(digest));
}

TEST_F(Mkimage, MakesUpThePayloadFromTheSeed)
{
    EXPECT_EQ(bmc({"--size", "100"}).status, 0);
    const auto first = bytesOf(output);
    EXPECT_EQ(first.size(), 32U + 1 + 100 + 32);
    EXPECT_EQ(bmc({"--size", "100", "--seed", "1", "--force"}).status, 0);
    EXPECT_TRUE(bytesOf(output) == first);
    EXPECT_EQ(bmc({"--size", "100", "--seed", "2", "--force"}).status, 0);
    EXPECT_FALSE(bytesOf(output) == first);
}

TEST_F(Mkimage, GivesABiosImageADateUnlessToldOtherwise)
{
    EXPECT_EQ(mkimage({"--kind", "bios", "--version", "1", output}).status, 0);
    EXPECT_EQ(bytesOf(output).substr(32, 11), "101/01/2024");
    EXPECT_EQ(mkimage({"--kind", "bios", "--version", "1", "--date", "",
                       "--size", "1", "--force", output})
                  .status,
              0);
    EXPECT_EQ(bytesOf(output).size(), 32U + 1 + 0 + 1 + 32);
}

TEST_F(Mkimage, SaysThatAnImageIsBrokenOnPurpose)
{
    EXPECT_EQ(
        bmc({"--size", "1", "--broken", "trailing"}),
        (Completed{0, output + ": 70 bytes, version 1, broken on purpose\n",
                   ""}));
}

TEST_F(Mkimage, BreaksTheDigestAndNothingElse)
{
    ASSERT_EQ(bmc().status, 0);
    const auto sound = bytesOf(output);
    ASSERT_EQ(bmc({"--broken", "digest", "--force"}).status, 0);
    const auto broken = bytesOf(output);
    EXPECT_FALSE(broken == sound);
    EXPECT_TRUE(broken.substr(0, sound.size() - 32) ==
                sound.substr(0, sound.size() - 32));
    EXPECT_EQ(broken.size(), sound.size());
}

TEST_F(Mkimage, LeavesAFileThatExistsAsItIs)
{
    writeBytes(output, "mine");
    EXPECT_EQ(bmc(), failed(1, output + " exists; --force replaces it"));
    EXPECT_EQ(bytesOf(output), "mine");
}

TEST_F(Mkimage, RefusesAPlaceThatItCannotWriteTo)
{
    output = directory.file("missing/image");
    EXPECT_EQ(bmc(),
              failed(1, "there is no directory " + directory.file("missing") +
                            "; make it with mkdir -p"));
    output = "/proc/image";
    EXPECT_EQ(bmc(), failed(1, "cannot write " + output +
                                   ": No such file or directory"));
    output = directory.path();
    EXPECT_EQ(bmc(), failed(1, output + " is a directory; name a file"));
    EXPECT_EQ(bmc({"--force"}),
              failed(1, output + " is a directory; name a file"));
}

TEST_F(Mkimage, LeavesNothingWhereTheDiskIsFull)
{
    const auto made = run({"sh", "-c", "ulimit -f 8; trap '' XFSZ; exec \"$@\"",
                           "sh", fromEnvironment("WEXA_MKIMAGE"), "--kind",
                           "bmc", "--version", "1", output});
    EXPECT_EQ(made, failed(1, "cannot write " + output + ": File too large"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(Mkimage, RefusesAPayloadThatItCannotUse)
{
    const auto payload = directory.file("payload");
    EXPECT_EQ(
        bmc({"--payload", payload}),
        failed(1, "cannot read " + payload + ": No such file or directory"));
    EXPECT_EQ(bmc({"--payload", directory.path()}),
              failed(1, directory.path().string() + " is not a file"));
    writeBytes(payload, "");
    EXPECT_EQ(bmc({"--payload", payload}),
              failed(1, payload + " is empty; a payload needs a byte"));
    std::filesystem::resize_file(payload, 268435457);
    EXPECT_EQ(bmc({"--payload", payload}),
              failed(1, payload + " is larger than 268435456 bytes"));
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(Mkimage, RefusesWrongUsage)
{
    EXPECT_EQ(mkimage({}), usage("--kind is required"));
    EXPECT_EQ(mkimage({"--kind", "bmc", output}),
              usage("--version is required"));
    EXPECT_EQ(mkimage({"--kind", "bmc", "--version", "1"}),
              usage("OUTPUT is required"));
    EXPECT_EQ(mkimage({"--kind", "fpga", "--version", "1", output}),
              usage("--kind: no 'fpga'; there are bios, bmc, capsule, cpld"));
    EXPECT_EQ(bmc({"--fast"}),
              usage("The following argument was not expected: --fast"));
    EXPECT_EQ(bmc({"--broken", "odd"}),
              usage("--broken: no 'odd'; there are digest, empty, "
                    "header-only, kind, magic, no-version, payload-length, "
                    "trailing, truncated, unprintable-version, "
                    "version-length"));
    EXPECT_EQ(bmc({"--board", "65536"}),
              usage("--board: Value 65536 not in range 0 to 65535"));
    EXPECT_EQ(bmc({"--size", "0"}),
              usage("--size: Value 0 not in range 1 to 268435456"));
    EXPECT_EQ(
        bmc({"--capsule-kind", "2"}),
        usage("--capsule-kind: is for --kind capsule only; leave it out"));
    EXPECT_EQ(bmc({"--payload", "f", "--size", "1"}),
              usage("--payload excludes --size"));
    EXPECT_EQ(bmc({"--date", std::string(64, 'd')}),
              usage("--date: must be 0 to 63 printable ASCII characters"));
    for (const auto& version : {""s, std::string(256, 'v'), "a\nb"s, "\xe9"s})
    {
        EXPECT_EQ(mkimage({"--kind", "bmc", "--version", version, output}),
                  usage("--version: must be 1 to 255 printable ASCII "
                        "characters"));
    }
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(Mkimage, ExplainsItselfWhenAsked)
{
    const auto help = mkimage({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_TRUE(help.out.starts_with(
        "Makes a firmware image for the simulated platform.\n"));
}

} // namespace
