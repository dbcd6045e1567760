// SPDX-License-Identifier: Apache-2.0
#include "loaded_unit.hpp"

#include "patience.hpp"
#include "systemd.hpp"

LoadedUnit::LoadedUnit(sdbusplus::bus_t& bus, const std::string& name)
{
    auto call = bus.new_method_call(systemd::service, systemd::path,
                                    systemd::managerInterface, "LoadUnit");
    call.append(name);
    ObjectPath path;
    bus.call(call, patience).read(path);
    object = path.str;

    // Those of all its interfaces.
    constexpr auto every = "";
    auto ask = bus.new_method_call(systemd::service, object.c_str(),
                                   "org.freedesktop.DBus.Properties", "GetAll");
    ask.append(every);
    bus.call(ask, patience).read(properties);
}
