// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace bench
{

/** Binds this process, and all that it starts from now on, to one CPU, so
 *  that a call's cost is work and not where the scheduler puts it.
 */
void pinToOneCpu();

/** Answers as a security manager, as systemd and as a CPLD update manager do,
 *  at once, in a process of its own.
 *
 *  The CPLD update manager has a registry of N devices at /registry/N.
 */
class Platform
{
  public:
    explicit Platform(const std::string& busAddress);
    ~Platform();

    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

  private:
    pid_t child;
};

} // namespace bench
