// SPDX-License-Identifier: Apache-2.0
#include "one_cpu.hpp"

#include <sched.h>

#include <cerrno>
#include <system_error>

namespace bench
{

void pinToOneCpu()
{
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    CPU_SET(sched_getcpu(), &cpus);
    if (sched_setaffinity(0, sizeof(cpus), &cpus) < 0)
    {
        throw std::system_error(errno, std::generic_category(),
                                "cannot pin the benchmark to a CPU");
    }
}

} // namespace bench
