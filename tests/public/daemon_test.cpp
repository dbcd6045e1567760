// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace test;
using testing::EndsWith;

namespace
{

class Daemon : public testing::Test
{
  protected:
    Completed handle(const std::string& image) const
    {
        return bmc.run({fromEnvironment("WEXA_DAEMON"), image});
    }

    Simulation bmc;
    Images images;
};

TEST_F(Daemon, StandsInTheDocumentAsItIsCompiled)
{
    const auto sources = fromEnvironment("WEXA_SOURCES");
    const auto document = bytesOf(sources + "/docs/daemon-authors.md");
    const std::string opening = "```cpp\n";
    const auto start = document.find(opening) + opening.size();
    const auto shown =
        document.substr(start, document.find("```", start) - start);

    const auto compiled = bytesOf(sources + "/tests/public/daemon.cpp");
    EXPECT_EQ(shown, compiled.substr(compiled.find('\n') + 1));
}

TEST_F(Daemon, TakesAnImageFromUploadToTheEndOfItsFlash)
{
    const auto image = images.bmc("2.14.0");
    const auto handled = handle(image);

    EXPECT_EQ(handled.status, 0);
    EXPECT_EQ(handled.err, "");
    EXPECT_THAT(handled.out, EndsWith("void wexa::core::FWManagerInternal::"
                                      "onBMCUpdateSuccess()\n"));
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Daemon, TellsByItsExitStatusThatTheImageWasRefused)
{
    const auto image = images.make("forged", {"--kind", "bmc", "--version",
                                              "2.14.0", "--broken", "digest"});
    const auto handled = handle(image);

    EXPECT_EQ(handled.status, 1);
    EXPECT_EQ(handled.err, "Error !! VerifyBMC failed. image: " + image + "\n");
}

TEST_F(Daemon, TellsByItsExitStatusThatTheFlashFailed)
{
    bmc.set("flash", "fail");
    EXPECT_EQ(handle(images.bmc("2.14.0")).status, 1);
}

} // namespace
