// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/images.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace test
{

/** The services of the simulated platform, asked as any client asks them. */
class ServiceTest : public testing::Test
{
  protected:
    /** One simulated BMC serves all tests of a suite; each begins with all as
     *  it is from the start.
     */
    static void SetUpTestSuite()
    {
        bmc = std::make_unique<Simulation>(
            std::vector<std::string>{"--manager", "builtin"});
    }

    static void TearDownTestSuite()
    {
        bmc.reset();
    }

    void SetUp() override
    {
        for (const auto* service : {"security", "fwinfo", "host", "settings"})
        {
            bmc->set(service, "normal");
        }
    }

    /** A call of the standard properties interface, as busctl takes it. */
    static Completed properties(const std::string& service,
                                const std::string& path,
                                const std::vector<std::string>& words)
    {
        std::vector<std::string> command{"--timeout=1", service, path,
                                         "org.freedesktop.DBus.Properties"};
        command.insert(command.end(), words.begin(), words.end());
        return bmc->call(command);
    }

    static Completed failed(const std::string& text)
    {
        return {1, "", "Call failed: " + text + "\n"};
    }

    static inline std::unique_ptr<Simulation> bmc;
};

} // namespace test
