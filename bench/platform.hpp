// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <string>

namespace bench
{

/** Answers as all services do that the library calls, at once, with plain
 *  sd-bus, in a process of its own.
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

/** Has the platform bind so many CPLDs, CPLD_0 and on, of eight properties
 *  each.
 */
void bindDevices(sd_bus* bus, int devices);

} // namespace bench
