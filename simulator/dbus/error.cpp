// SPDX-License-Identifier: Apache-2.0
#include "error.hpp"

#include <systemd/sd-bus.h>

#include <cstring>

namespace bmcsim::dbus
{

int require(int result, const char* what)
{
    if (result < 0)
    {
        sd_bus_error error{};
        sd_bus_error_set_errno(&error, result);
        const Error failure(error.name,
                            std::string(what) + ": " + std::strerror(-result));
        sd_bus_error_free(&error);
        throw failure;
    }
    return result;
}

} // namespace bmcsim::dbus
