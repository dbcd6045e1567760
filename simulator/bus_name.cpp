// SPDX-License-Identifier: Apache-2.0
#include "bus_name.hpp"

#include <stdexcept>

namespace bmcsim
{

void failAsTaken(const std::string& name)
{
    throw std::runtime_error("the name " + name +
                             " is taken on the bus; end the program that has "
                             "it, or use another bus");
}

void takeName(sdbus::IConnection& connection, const std::string& name)
try
{
    connection.requestName(name);
}

catch (const sdbus::Error& error)
{
    if (error.getName() != "org.freedesktop.DBus.Error.FileExists")
    {
        throw;
    }
    failAsTaken(name);
}

} // namespace bmcsim
