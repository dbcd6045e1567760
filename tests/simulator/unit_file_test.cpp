// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/unit_file.hpp"
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

// How the built-in manager reads a unit file.

using bmcsim::UnitFile;
using std::chrono::microseconds;
using testing::ElementsAre;

namespace
{

class UnitFileTest : public testing::Test
{
  protected:
    UnitFile loaded(const std::string& service,
                    const std::string& unit = R"(a@x\x20-y.service)")
    {
        test::writeBytes(folder.file("a@.service"), service);
        return UnitFile::load(folder.path(), unit);
    }

    /** What is wrong with a setting. */
    std::string wrong(const std::string& setting)
    {
        const auto file =
            loaded("[Service]\nExecStart=/bin/true\n" + setting + '\n');
        EXPECT_EQ(file.loadState, "bad-setting");
        return file.error;
    }

    /** What a time is read as. */
    UnitFile::Limit time(const std::string& text)
    {
        return loaded("[Service]\nExecStart=/bin/true\nTimeoutStopSec=" + text +
                      '\n')
            .timeoutStop;
    }

    test::TemporaryDirectory folder;
};

TEST_F(UnitFileTest, PutsTheInstanceInForSpecifiers)
{
    const auto file = loaded("# A comment\n; another\n\n"
                             "[Unit]\nDescription=%p of %I, %%i\n"
                             "[Service]\nExecStart=-/bin/true \"%i b\" '%n'\n");
    EXPECT_EQ(file.loadState, "loaded");
    EXPECT_EQ(file.description, "a of x /y, %i");
    ASSERT_EQ(file.execStart.size(), 1);
    EXPECT_TRUE(file.execStart.front().ignoresFailure);
    EXPECT_THAT(
        file.execStart.front().words,
        ElementsAre("/bin/true", R"(x\x20-y b)", R"(a@x\x20-y.service)"));
}

TEST_F(UnitFileTest, ReadsTimes)
{
    EXPECT_EQ(time("2"), microseconds(2000000));
    EXPECT_EQ(time("2s"), microseconds(2000000));
    EXPECT_EQ(time("300ms"), microseconds(300000));
    EXPECT_EQ(time("1min"), microseconds(60000000));
    EXPECT_EQ(time("2592000"), microseconds(2592000000000));
    EXPECT_EQ(time("9223372036854775807"), UnitFile::Limit());
    EXPECT_EQ(time("infinity"), UnitFile::Limit());
    EXPECT_EQ(time("0"), UnitFile::Limit());
}

TEST_F(UnitFileTest, LeavesOutUnitsThatAreNoOthers)
{
    const auto file = loaded("[Unit]\nRequires=b.service nosuffix a@c.service\n"
                             "After=a@c.service b.service\nAfter=%p.target\n"
                             "[Service]\nExecStart=/bin/true\n",
                             "a@c.service");
    EXPECT_EQ(file.loadState, "loaded");
    EXPECT_THAT(file.requirements, ElementsAre("b.service"));
    EXPECT_THAT(file.after, ElementsAre("b.service", "a.target"));
}

TEST_F(UnitFileTest, TellsMaskedAndMissingUnits)
{
    EXPECT_EQ(UnitFile::load(folder.path(), "a@b.service").loadState,
              "not-found");
    EXPECT_EQ(loaded("").loadState, "masked");
    std::filesystem::remove(folder.file("a@.service"));
    std::filesystem::create_symlink("/dev/null", folder.file("a@.service"));
    const auto masked = UnitFile::load(folder.path(), "a@b.service");
    EXPECT_EQ(masked.loadState, "masked");
    EXPECT_EQ(masked.path, folder.file("a@.service"));
    EXPECT_EQ(masked.description, "a@b.service");
}

TEST_F(UnitFileTest, IsThatOfTheInstanceWhereItHasOne)
{
    loaded("[Service]\nExecStart=/bin/true\n");
    test::writeBytes(folder.file("a@own.service"),
                     "[Service]\nExecStart=/bin/echo %i\n");
    std::filesystem::create_symlink("/dev/null",
                                    folder.file("a@masked.service"));
    const auto own = UnitFile::load(folder.path(), "a@own.service");
    EXPECT_EQ(own.path, folder.file("a@own.service"));
    EXPECT_THAT(own.execStart.front().words, ElementsAre("/bin/echo", "own"));
    EXPECT_EQ(UnitFile::load(folder.path(), "a@masked.service").loadState,
              "masked");
    EXPECT_EQ(UnitFile::load(folder.path(), "a@b.service").path,
              folder.file("a@.service"));
}

TEST_F(UnitFileTest, IsRefusedWhereAFolderAddsToIt)
{
    const auto text = "[Service]\nExecStart=/bin/true\n";
    test::writeBytes(folder.file("a-b@.service"), text);
    for (const auto* name : {"a-b@c.service.d", "a-b@.service.d",
                             "a-@.service.d", "a-@c.service.d", "service.d",
                             "a-b@c.service.wants", "a-b@.service.requires"})
    {
        EXPECT_EQ(UnitFile::load(folder.path(), "a-b@c.service").loadState,
                  "loaded");
        std::filesystem::create_directory(folder.file(name));
        const auto file = UnitFile::load(folder.path(), "a-b@c.service");
        EXPECT_EQ(file.loadState, "bad-setting");
        EXPECT_EQ(file.error, "the built-in manager does not know the folder " +
                                  std::string(name));
        std::filesystem::remove(folder.file(name));
    }
}

TEST_F(UnitFileTest, IsReadWithoutTheBlanksAroundNamesAndValues)
{
    const auto file = loaded(" # A comment\n [Service] \n"
                             " ExecStart = /bin/true \nType= oneshot \n");
    EXPECT_EQ(file.loadState, "loaded");
    EXPECT_THAT(file.execStart.front().words, ElementsAre("/bin/true"));
    EXPECT_EQ(file.type, "oneshot");
}

TEST_F(UnitFileTest, KeepsTheLastValueOfAVariable)
{
    EXPECT_THAT(loaded("[Service]\nExecStart=/bin/true\n"
                       "Environment=A=1 B=2\nEnvironment=\"A=3 %i\"\n",
                       "a@x.service")
                    .environment,
                ElementsAre("A=3 x", "B=2"));
}

TEST_F(UnitFileTest, RefusesWhatItWouldNotDo)
{
    EXPECT_EQ(wrong("ExecStopPost=/bin/true"),
              "the built-in manager does not know ExecStopPost=");
    EXPECT_EQ(wrong("Type=notify"),
              "the built-in manager does not know Type=notify");
    EXPECT_EQ(wrong("ExecStartPre=true"), "'true' does not begin with a path");
    EXPECT_EQ(wrong("ExecStartPre=/bin/echo \"a"),
              "a quotation mark is not closed");
    EXPECT_EQ(wrong("TimeoutStartSec=soon"), "'soon' is no time");
    EXPECT_EQ(wrong("RemainAfterExit=maybe"), "'maybe' is neither yes nor no");
    EXPECT_EQ(wrong("SuccessExitStatus=TEMPFAIL"),
              "'TEMPFAIL' is no exit status from 0 to 255");
    EXPECT_EQ(wrong("no setting"), "'no setting' is no setting");
    EXPECT_EQ(wrong("[Unit]\nConditionPathExists="),
              "the built-in manager does not know an empty "
              "ConditionPathExists=");
    EXPECT_EQ(wrong("Environment="),
              "the built-in manager does not know an empty Environment=");
    EXPECT_EQ(wrong("Environment=A"), "'A' is no variable");
    EXPECT_EQ(wrong("Environment=A=%t"),
              "the built-in manager does not know %t");
    EXPECT_EQ(wrong("Environment=A=%"), "the built-in manager does not know %");
    EXPECT_EQ(wrong("[Unit]\nConditionPathExists=!path"),
              "'path' does not begin with a path");
    EXPECT_EQ(wrong(R"(ExecStartPre=/bin/echo a\x20b)"),
              R"(the built-in manager does not know \x)");
    EXPECT_EQ(wrong("ExecStartPre=/bin/echo \\\n/bin/echo"),
              "the built-in manager does not know lines that go on");
    EXPECT_EQ(wrong("ExecStartPre=/bin/echo a ; /bin/echo b"),
              "the built-in manager does not know ';' between commands");
    for (const auto* word : {"$A", "${A}", "a${A}", "$$${A}"})
    {
        EXPECT_EQ(wrong("ExecStartPre=/bin/echo " + std::string(word)),
                  "the built-in manager does not know variables in commands");
    }
    EXPECT_EQ(wrong("StandardOutput=truncate:/log"),
              "the built-in manager does not know 'truncate:/log'");
    EXPECT_EQ(wrong("StandardError=append:log"),
              "the built-in manager does not know 'append:log'");
}

} // namespace
