// SPDX-License-Identifier: Apache-2.0
#include "../tests/support/private_bus.hpp"
#include "platform.hpp"
#include "rounds.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <benchmark/benchmark.h>

#include <fstream>
#include <iostream>

// What an operation costs beside the same call made with sd-bus in plain C:
// both in turns, on one connection, logging to /dev/null included.

namespace
{

using test::check;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

/** Sends what the library prints to /dev/null while it exists. */
class NoOutput
{
  public:
    NoOutput() : out(std::cout.rdbuf(nowhere.rdbuf())) {}

    ~NoOutput()
    {
        std::cout.rdbuf(out);
    }

    NoOutput(const NoOutput&) = delete;
    NoOutput& operator=(const NoOutput&) = delete;

  private:
    std::ofstream nowhere{"/dev/null"};
    std::streambuf* out;
};

void compare(benchmark::State& state, const std::function<void()>& plain,
             const std::function<void()>& library)
{
    const NoOutput quiet;
    bench::takeTurns(state, {{"plain", plain}, {"library", library}});
}

void require(bool held)
{
    if (!held)
    {
        throw std::runtime_error("a call of the benchmark failed");
    }
}

/** The bus, the services and one connection, for all benchmarks. */
struct Board
{
    Board() : platform(bus.address()), connection(bus.connect()) {}

    test::PrivateBus bus;
    bench::Platform platform;
    test::Connection connection;
};

Board& board()
{
    static Board one;
    return one;
}

void verifyPlainly(sd_bus* bus)
{
    sd_bus_message* reply = nullptr;
    check(sd_bus_call_method(bus, "xyz.openbmc_project.SecurityManager",
                             "/xyz/openbmc_project/security",
                             "xyz.openbmc_project.security.SecurityManager",
                             "verifyBmc", nullptr, &reply, "s", "/tmp/image"),
          "verifyBmc");
    int authentic = 0;
    check(sd_bus_message_read(reply, "b", &authentic), "verifyBmc");
    sd_bus_message_unref(reply);
    require(authentic == 1);
}

void startPlainly(sd_bus* bus)
{
    sd_bus_message* reply = nullptr;
    check(sd_bus_call_method(
              bus, "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "StartUnit", nullptr, &reply,
              "ss",
              "obmc-flash-bmc-rot2@bmc_rot2\\x20update\\x20-tmp-image.service",
              "replace"),
          "StartUnit");
    sd_bus_message_unref(reply);
}

void verifyBmc(benchmark::State& state)
{
    auto* raw = board().connection.get();
    sdbusplus::bus::bus bus(raw);
    FWManagerInternal manager(bus);
    compare(
        state, [&] { verifyPlainly(raw); },
        [&] {
            require(manager.VerifyBMC("/tmp/image", VersionPurpose::BMC, "") ==
                    0);
        });
}

void updateBmc(benchmark::State& state)
{
    auto* raw = board().connection.get();
    sdbusplus::bus::bus bus(raw);
    FWManagerInternal manager(bus);
    compare(
        state, [&] { startPlainly(raw); },
        [&] {
            require(manager.UpdateBMC("/tmp/image", VersionPurpose::BMC, "") ==
                    0);
        });
}

/** What two equal sides differ by: the noise of the figures above. */
void verifyPlainlyTwice(benchmark::State& state)
{
    auto* raw = board().connection.get();
    const auto call = [&] { verifyPlainly(raw); };
    compare(state, call, call);
}

BENCHMARK(verifyPlainlyTwice)->Name("plain sd-bus twice");
BENCHMARK(verifyBmc)->Name("VerifyBMC");
BENCHMARK(updateBmc)->Name("UpdateBMC");

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    bench::pinToOneCpu();
    benchmark::RunSpecifiedBenchmarks();
}
