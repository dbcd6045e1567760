// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/images.hpp"
#include "../support/private_bus.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace test
{

constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

/** A client of the unit manager that hears of the jobs' ends. */
class ManagerClient
{
  public:
    explicit ManagerClient(const Simulation& bmc) :
        connection(connectTo(bmc.busAddress()))
    {
        check(sd_bus_match_signal(connection.get(), nullptr, nullptr, nullptr,
                                  managerInterface, "JobRemoved", heard, this),
              "match");
        call("Subscribe", {});
    }

    /** The error's name and text, or nothing. */
    std::string call(const char* member, const std::vector<std::string>& words)
    {
        sd_bus_message* message = nullptr;
        check(sd_bus_message_new_method_call(
                  connection.get(), &message, "org.freedesktop.systemd1",
                  "/org/freedesktop/systemd1", managerInterface, member),
              "call");
        for (const auto& word : words)
        {
            sd_bus_message_append(message, "s", word.c_str());
        }
        sd_bus_error error = {};
        sd_bus_call(connection.get(), message, 0, &error, nullptr);
        sd_bus_message_unref(message);
        const auto text = error.name == nullptr
                              ? std::string()
                              : std::string(error.name) + ": " + error.message;
        sd_bus_error_free(&error);
        return text;
    }

    /** The next ends of `count` jobs of flash units, as "unit: result". */
    std::vector<std::string> ends(std::size_t count)
    {
        processUntil(connection.get(), [&] { return results.size() >= count; });
        return std::exchange(results, {});
    }

    /** The path of a unit's object. */
    static std::string pathOf(const Simulation& bmc, const std::string& unit)
    {
        const auto loaded =
            bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                      managerInterface, "LoadUnit", "s", unit});
        return loaded.out.substr(3, loaded.out.size() - 5);
    }

    /** A property of a unit, as text. */
    static std::string property(const Simulation& bmc, const std::string& unit,
                                const std::string& interface,
                                const std::string& name)
    {
        return bmc
            .call({"org.freedesktop.systemd1", pathOf(bmc, unit),
                   "org.freedesktop.DBus.Properties", "Get", "ss",
                   "org.freedesktop.systemd1." + interface, name})
            .out;
    }

  private:
    static int heard(sd_bus_message* signal, void* client, sd_bus_error*)
    {
        std::uint32_t id = 0;
        const char* job = nullptr;
        const char* unit = nullptr;
        const char* result = nullptr;
        sd_bus_message_read(signal, "uoss", &id, &job, &unit, &result);
        if (std::string(unit).starts_with("obmc-flash"))
        {
            static_cast<ManagerClient*>(client)->results.push_back(
                std::string(unit) + ": " + result);
        }
        return 0;
    }

    Connection connection;
    std::vector<std::string> results;
};

/** Flash units under either manager, which is the parameter. */
class ManagedFlash : public testing::TestWithParam<const char*>
{
  protected:
    ManagedFlash()
    {
        bmc.set("flash-time", "100");
    }

    void SetUp() override
    {
        SKIP_WITHOUT_MANAGER(GetParam());
    }

  public:
    static std::string unitOf(const std::string& path,
                              const std::string& device = "bmc")
    {
        auto converted = path;
        std::ranges::replace(converted, '/', '-');
        return (device == "bmc"
                    ? R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)"
                    : R"(obmc-flash-host-bios@bios_rot2\x20update\x20)") +
               converted + ".service";
    }

  protected:
    void expectEnd(const std::string& result)
    {
        EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
        EXPECT_THAT(client.ends(1), testing::ElementsAre(unit + ": " + result));
    }

    std::string unitResult() const
    {
        return ManagerClient::property(bmc, unit, "Service", "Result");
    }

    Simulation bmc{{"--manager", rights::managerOr(GetParam())}};
    ManagerClient client{bmc};
    Images images;
    std::string image = images.bmc("2.14.0");
    std::string unit = unitOf(image);
};

} // namespace test
