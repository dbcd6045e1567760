// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>

// What scripts/test says at its end, from what Meson and GoogleTest write.

using namespace test;

namespace
{

class Tally : public testing::Test
{
  protected:
    /** @param tests  calls of test() in a Meson file that knows `sample`, the
     *                tests of sample_tests.cpp, and `sh`
     */
    Completed of(const std::string& tests) const
    {
        writeBytes(directory.file("meson.build"),
                   "project('sample')\n"
                   "sample = find_program('" +
                       fromEnvironment("WEXA_SAMPLE_TESTS") +
                       "')\n"
                       "sh = find_program('sh')\n" +
                       tests);
        const auto build = directory.file("build");
        const auto configured =
            run({"meson", "setup", build, directory.path()});
        EXPECT_EQ(configured.status, 0) << configured.out;
        run({"meson", "test", "-C", build});
        return tally(build + "/meson-logs/testlog.junit.xml");
    }

    static Completed tally(const std::string& results)
    {
        return run(
            {fromEnvironment("WEXA_SOURCES") + "/scripts/tally", results});
    }

    TemporaryDirectory directory;
};

TEST_F(Tally, CountsTestsThatPassAndFail)
{
    EXPECT_EQ(of("test('mixed', sample, protocol: 'gtest',\n"
                 "     args: '--gtest_filter=*.Passes:*.Fails', suite: 's')\n"
                 "test('good', sh, args: ['-c', 'exit 0'])\n"
                 "test('bad', sh, args: ['-c', 'exit 1'], suite: 's')\n"),
              (Completed{0, "2 passed, 2 failed\n", ""}));
}

TEST_F(Tally, CountsEachReasonForWhichTestsAreSkipped)
{
    EXPECT_EQ(
        of("test('mixed', sample, protocol: 'gtest',\n"
           "     args: '--gtest_filter=*.Passes:*.IsSkipped')\n"
           "test('skipped only', sample, protocol: 'gtest',\n"
           "     args: '--gtest_filter=*.IsSkipped')\n"
           "test('program', sh, args: ['-c', 'echo no broker; exit 77'])\n"
           "test('silent', sh, args: ['-c', 'exit 77'])\n"),
        (Completed{0,
                   "1 passed, 0 failed, 4 skipped\n"
                   "  2 no systemd here\n"
                   "  1 no broker\n"
                   "  1 no reason given\n",
                   ""}));
}

TEST_F(Tally, CountsAProgramThatEndsBeforeItsTestsDoAsAFailure)
{
    EXPECT_EQ(of("test('ends', sample, protocol: 'gtest',\n"
                 "     args: '--gtest_filter=*.Passes:*.EndsTheProgram')\n"
                 "test('good', sh, args: ['-c', 'exit 0'])\n"),
              (Completed{0, "1 passed, 1 failed\n", ""}));
}

TEST_F(Tally, CountsAProgramThatTakesTooLongAsAFailure)
{
    EXPECT_EQ(of("test('slow', sh, args: ['-c', 'exec sleep 600'],\n"
                 "     timeout: 1)\n"),
              (Completed{0, "slow: TIMEOUT\n0 passed, 1 failed\n", ""}));
}

TEST_F(Tally, FailsWhereNothingRan)
{
    const Completed nothing{1, "0 passed, 0 failed\n", "tally: no test ran\n"};
    EXPECT_EQ(tally(directory.file("none")), nothing);
    EXPECT_EQ(of("test('none', sample, protocol: 'gtest',\n"
                 "     args: '--gtest_filter=NoSuchTest')\n"),
              nothing);
}

} // namespace
