// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bus_program.hpp"
#include "temporary_directory.hpp"

#include <filesystem>
#include <memory>
#include <string>

namespace test
{

/** A bus that every user of the machine reaches, as a board's system bus. */
class OpenBus
{
  public:
    /** @param program  "dbus-daemon" or "dbus-broker" */
    explicit OpenBus(const std::string& program) :
        bus(program == "dbus-broker" ? startDbusBroker(directory.path())
                                     : startDbusDaemon(directory.path()))
    {
        using std::filesystem::permissions;
        using std::filesystem::perms;
        permissions(directory.path(), perms(0711));
        permissions(directory.file("bus"), perms(0666));
    }

    std::string address() const
    {
        return "unix:path=" + directory.file("bus");
    }

  private:
    TemporaryDirectory directory;
    std::unique_ptr<BusProgram> bus;
};

} // namespace test
