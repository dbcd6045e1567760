// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/cpld_manager.hpp"
#include "../support/security_manager.hpp"
#include "tool_test.hpp"

namespace test
{

/** The tool on a bus whose services answer whatever the test says. */
class ScriptedBoard : public testing::Test
{
  protected:
    Completed fwmgr(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), fromEnvironment("WEXA_FWMGR"));
        return run(arguments, environment());
    }

    std::vector<std::string> environment() const
    {
        return {"DBUS_SYSTEM_BUS_ADDRESS=" + bus.address()};
    }

    void offer(const std::string& service, std::vector<Method> methods)
    {
        services.push_back(std::make_unique<ScriptedService>(
            bus, transcript, service, std::move(methods)));
    }

    /** A CPLD update manager whose devices all run one version. */
    void offerCplds(const std::vector<cpld_manager::Device>& devices,
                    const std::string& version)
    {
        std::vector<Method> methods{
            cpld_manager::bindedDevices(cpld_manager::registry(devices))};
        for (const auto& device : devices)
        {
            methods.push_back(cpld_manager::method(
                device.path, "readMBVersionString", reply::text(version)));
        }
        offer(cpld_manager::service, std::move(methods));
    }

    Images images;
    PrivateBus bus;

  private:
    Transcript transcript;
    std::vector<std::unique_ptr<ScriptedService>> services;
};

} // namespace test
