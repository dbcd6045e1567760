// SPDX-License-Identifier: Apache-2.0
#include "../tests/support/private_bus.hpp"
#include "allocations.hpp"
#include "instructions.hpp"
#include "one_cpu.hpp"
#include "operations.hpp"
#include "platform.hpp"
#include "rounds.hpp"
#include "table.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <string_view>

// What the library's operations cost beside the same calls made with other
// D-Bus libraries: client, bus and services on one CPU, in turns.

namespace
{

using bench::Operation;
using bench::Peer;
using bench::Row;

/** Sends both standard streams to /dev/null while it exists. */
class NoOutput
{
  public:
    NoOutput()
    {
        const auto nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }

    ~NoOutput()
    {
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        close(out);
        close(err);
    }

    NoOutput(const NoOutput&) = delete;
    NoOutput& operator=(const NoOutput&) = delete;

  private:
    int out = dup(STDOUT_FILENO);
    int err = dup(STDERR_FILENO);
};

/** A board with the library and its peers. The library, plain sd-bus and
 *  sdbusplus share a connection.
 */
struct Bench
{
    Bench()
    {
        std::ofstream(directory.file("image"));
        std::ofstream(directory.file("image.capsule"));
    }

    test::TemporaryDirectory directory;
    test::PrivateBus bus;
    bench::Platform platform{bus.address()};
    test::Connection connection = bus.connect();
    sdbusplus::bus_t sdbusplusBus{connection.get()};
    wexa::core::FWManagerInternal manager{sdbusplusBus};

    std::unique_ptr<Peer> plain = bench::plainSdBus(connection.get());
    std::unique_ptr<Peer> sdbusplus =
        bench::sdbusplusDirectly(connection.get());
    std::unique_ptr<Peer> gdbus = bench::gdbus(bus.address());
    std::unique_ptr<Peer> libdbus = bench::libdbus(bus.address());
    std::unique_ptr<Peer> busctl = bench::busctl(bus.address());

    std::vector<Operation> operations =
        bench::operationsOf(manager, connection.get(), directory.file("image"));
};

/** Fewer turns where one takes long. */
int turnsOf(const Operation& operation)
{
    constexpr auto turns = 200;
    constexpr auto perTurn = 16;
    return std::max(1,
                    turns * perTurn /
                        std::max(perTurn, operation.devices * operation.calls));
}

/** Pairs, so that every side meets the same: plain sd-bus, which is in the
 *  caches with what it shares with the side.
 */
class Pairs
{
  public:
    Pairs(Bench& bench, const Operation& operation, int rounds) :
        bench(bench), operation(operation), rounds{rounds, turnsOf(operation)}
    {}

    bench::Duration with(const std::function<void()>& act, int every = 1) const
    {
        std::vector<bench::Side> sides(2);
        sides[0].act = [&] { operation.same(*bench.plain); };
        sides[1].act = act;
        sides[1].every = every;
        const auto took = bench::takeTurns(sides, rounds);
        return {took[0].microseconds, took[1].ratio, took[1].ratioOf99th};
    }

    double with(const std::unique_ptr<Peer>& peer, int every = 1) const
    {
        return with([&] { operation.same(*peer); }, every).ratio;
    }

  private:
    Bench& bench;
    const Operation& operation;
    bench::Rounds rounds;
};

void measureDurations(Row& row, Bench& bench, const Operation& operation,
                      int rounds)
{
    const Pairs pairs(bench, operation, rounds);
    const auto library = pairs.with(operation.library);
    row.microseconds = library.microseconds;
    row.library = library.ratio;
    row.libraryOf99th = library.ratioOf99th;
    if (operation.calls > 0)
    {
        row.sdbusplus = pairs.with(bench.sdbusplus);
        row.gdbus = pairs.with(bench.gdbus);
        row.libdbus = pairs.with(bench.libdbus);
    }
    if (operation.calls == 1)
    {
        constexpr auto aProcess = 50;
        row.busctl = pairs.with(bench.busctl, aProcess);
    }
}

void measureAllocations(Row& row, Bench& bench, const Operation& operation)
{
    const auto count = [](auto act) {
        return static_cast<double>(bench::allocationsOf(act));
    };
    row.allocationsOfLibrary = count(operation.library);
    row.allocationsOfLog =
        static_cast<double>(bench::allocationsOfLog(operation.library));
    if (operation.calls > 0)
    {
        row.allocationsOfSdbusplus =
            count([&] { operation.same(*bench.sdbusplus); });
    }
}

Row measure(Bench& bench, const Operation& operation, int rounds)
{
    bench::bindDevices(bench.connection.get(), operation.devices);
    Row row;
    row.operation = operation.name;
    row.calls = operation.calls;
    measureDurations(row, bench, operation, rounds);
    measureAllocations(row, bench, operation);
    return row;
}

std::vector<Row> measureAll(int rounds)
{
    const NoOutput quiet;
    Bench bench;
    std::vector<Row> rows;
    for (const auto& operation : bench.operations)
    {
        rows.push_back(measure(bench, operation, rounds));
    }
    return rows;
}

void countAll()
{
    const NoOutput quiet;
    Bench bench;
    for (const auto& operation : bench.operations)
    {
        constexpr auto few = 8;
        const auto runs = operation.devices > few ? 1 : few;
        bench::bindDevices(bench.connection.get(), operation.devices);
        bench::countInstructions(operation.name + ", sd-bus", runs,
                                 [&] { operation.same(*bench.plain); });
        bench::countInstructions(operation.name + ", library", runs,
                                 operation.library);
    }
}

void addInstructions(std::vector<Row>& rows)
{
    const auto instructions = bench::instructionsOf("--count");
    for (auto& row : rows)
    {
        row.instructionsOfPlain = instructions.at(row.operation + ", sd-bus");
        row.instructionsOfLibrary =
            instructions.at(row.operation + ", library");
    }
}

int usage()
{
    fmt::print(stderr, "usage: bench_operations [--rounds N]    N from 1 to "
                       "1000, else 15\n");
    return 2;
}

/** @return the number of rounds; 0 if the text is no such number */
int roundsIn(std::string_view text)
{
    constexpr auto most = 1000;
    auto rounds = 0;
    const auto* const end = text.data() + text.size();
    const auto [read, error] = std::from_chars(text.data(), end, rounds);
    const auto isNumber = error == std::errc() && read == end;
    return isNumber && rounds >= 1 && rounds <= most ? rounds : 0;
}

void report(int rounds)
{
    auto rows = measureAll(rounds);
    addInstructions(rows);
    bench::print(rows);
}

} // namespace

int main(int argc, char** argv)
try
{
    auto rounds = 15;
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "--rounds")
    {
        rounds = roundsIn(arguments[1]);
    }
    const auto counts = arguments.size() == 1 && arguments[0] == "--count";
    if (rounds == 0 || (argc == 2 && !counts) || argc > 3 ||
        (argc == 3 && arguments[0] != "--rounds"))
    {
        return usage();
    }

    bench::pinToOneCpu();
    counts ? countAll() : report(rounds);
}

catch (const std::exception& error)
{
    fmt::print(stderr, "bench_operations: {}\n", error.what());
    return 1;
}
