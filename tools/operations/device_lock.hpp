// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** Lets one tool at a time flash a device. The kernel releases it when the
 *  process ends.
 */
class DeviceLock
{
  public:
    /** @param bus     as `connectTo` takes it
     *  @param busId   tells the bus from all others
     *  @param device  what is flashed: "bmc", "bios", "cpld-NAME"
     *  @param image   what it is to be flashed with
     *  @throw Failure  another tool has it, or it cannot be made
     */
    DeviceLock(const std::string& bus, const std::string& busId,
               const std::string& device, const std::string& image);
    ~DeviceLock();

    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

  private:
    std::string path;
    int file = -1;
};
