// SPDX-License-Identifier: Apache-2.0
#include "instructions.hpp"

#include "../tests/support/process.hpp"
#include "../tests/support/temporary_directory.hpp"

#include <valgrind/callgrind.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench
{

void countInstructions(const std::string& name, int runs,
                       const std::function<void()>& act)
{
    const auto dump = name + "/" + std::to_string(runs);
    act();
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    for (auto run = 0; run < runs; ++run)
    {
        act();
    }
    CALLGRIND_DUMP_STATS_AT(dump.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
}

/** Takes what one dump holds: its name, "NAME/RUNS", and the total. */
static void add(Instructions& all, std::ifstream dump)
{
    const std::string naming = "desc: Trigger: Client Request: ";
    const std::string summing = "totals: ";
    std::string name;
    for (std::string line; std::getline(dump, line);)
    {
        if (line.starts_with(naming))
        {
            name = line.substr(naming.size());
        }
        if (line.starts_with(summing) && !name.empty())
        {
            const auto slash = name.rfind('/');
            all[name.substr(0, slash)] =
                std::stod(line.substr(summing.size())) /
                std::stod(name.substr(slash + 1));
        }
    }
}

Instructions instructionsOf(const std::string& option)
{
    const test::TemporaryDirectory directory;
    const auto completed =
        test::run({"valgrind", "--tool=callgrind", "--instr-atstart=no",
                   "--callgrind-out-file=" + directory.file("out.%p"),
                   std::filesystem::read_symlink("/proc/self/exe"), option});
    if (completed.status != 0)
    {
        throw std::runtime_error("callgrind: " + completed.err);
    }
    Instructions all;
    for (const auto& entry :
         std::filesystem::directory_iterator(directory.path()))
    {
        add(all, std::ifstream(entry.path()));
    }
    return all;
}

} // namespace bench
