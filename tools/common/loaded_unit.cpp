// SPDX-License-Identifier: Apache-2.0
#include "loaded_unit.hpp"

#include "patience.hpp"
#include "systemd.hpp"

LoadedUnit::LoadedUnit(sdbusplus::bus::bus& bus, const std::string& name) :
    bus(bus)
{
    auto call = bus.new_method_call(systemd::service, systemd::path,
                                    systemd::managerInterface, "LoadUnit");
    call.append(name);
    sdbusplus::message::object_path path;
    bus.call(call, patience).read(path);
    object = path.str;
}

sdbusplus::message::message LoadedUnit::get(const char* interface,
                                            const char* property) const
{
    auto call = bus.new_method_call(systemd::service, object.c_str(),
                                    "org.freedesktop.DBus.Properties", "Get");
    call.append(interface, property);
    return bus.call(call, patience);
}
