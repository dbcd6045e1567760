// SPDX-License-Identifier: Apache-2.0
#include "table.hpp"

#include <fmt/format.h>

#include <array>
#include <cstdio>

namespace bench
{

static std::string text(Figure figure, int digits)
{
    return figure ? fmt::format("{:.{}f}", *figure, digits) : "-";
}

static std::string thousands(Figure figure)
{
    return text(figure ? Figure(*figure / 1000) : Figure(), 0);
}

/** Operations of a single call have targets. */
static std::string verdict(const Row& row)
{
    constexpr auto slowest = 1.05;
    constexpr auto moreAllocations = 3;
    if (row.calls != 1)
    {
        return "";
    }
    std::string missed;
    if (*row.library > slowest)
    {
        missed += " median";
    }
    if (*row.allocationsOfLibrary - *row.allocationsOfLog >
        *row.allocationsOfSdbusplus + moreAllocations)
    {
        missed += " allocations";
    }
    return missed.empty() ? "met" : "missed:" + missed;
}

using Cells = std::array<std::string, 14>;

static void printLine(const Cells& cells, const std::string& last)
{
    auto line = fmt::format("{:33}{:>5}{:>10} |{:>8}{:>6}{:>10}{:>7}{:>8}{:>7} "
                            "|{:>9}{:>8}{:>4} |{:>7}{:>8} | {}",
                            cells[0], cells[1], cells[2], cells[3], cells[4],
                            cells[5], cells[6], cells[7], cells[8], cells[9],
                            cells[10], cells[11], cells[12], cells[13], last);
    line.erase(line.find_last_not_of(' ') + 1);
    fmt::print("{}\n", line);
}

void print(const std::vector<Row>& rows)
{
    fmt::print("{:48} | {:45} | {:20} | {:14} |\n", "", "time / sd-bus's",
               "allocations", "1000 instr.");
    printLine({"operation", "calls", "sd-bus us", "library", "p99", "sdbusplus",
               "GDBus", "libdbus", "busctl", "sdbusplus", "library", "log",
               "sd-bus", "library"},
              "targets");
    for (const auto& row : rows)
    {
        printLine({row.operation, std::to_string(row.calls),
                   text(row.microseconds, 1), text(row.library, 3),
                   text(row.libraryOf99th, 2), text(row.sdbusplus, 3),
                   text(row.gdbus, 2), text(row.libdbus, 2),
                   text(row.busctl, 0), text(row.allocationsOfSdbusplus, 0),
                   text(row.allocationsOfLibrary, 0),
                   text(row.allocationsOfLog, 0),
                   thousands(row.instructionsOfPlain),
                   thousands(row.instructionsOfLibrary)},
                  verdict(row));
    }
}

} // namespace bench
