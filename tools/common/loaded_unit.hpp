// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

/** A unit as systemd has loaded it. */
class LoadedUnit
{
  public:
    /** A condition: type, whether it triggers, whether it is negated,
     *  parameter, state: above 0 it held, below 0 it did not.
     */
    using Condition =
        std::tuple<std::string, bool, bool, std::string, std::int32_t>;

    /** A command: program, arguments, whether its failure is ignored, and
     *  when and how it ran last.
     */
    using Command =
        std::tuple<std::string, std::vector<std::string>, bool, std::uint64_t,
                   std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t,
                   std::int32_t, std::int32_t>;

    /** Has systemd load it.
     *
     *  @throw sdbusplus::exception::exception  systemd does not
     */
    LoadedUnit(sdbusplus::bus::bus& bus, const std::string& name);

    /** The path of its D-Bus object. */
    const std::string& path() const
    {
        return object;
    }

    /** A property of every unit.
     *
     *  @throw sdbusplus::exception::exception  systemd does not tell it
     */
    template <typename Value>
    Value ofUnit(const char* property) const
    {
        return read<Value>("org.freedesktop.systemd1.Unit", property);
    }

    /** A property of services. */
    template <typename Value>
    Value ofService(const char* property) const
    {
        return read<Value>("org.freedesktop.systemd1.Service", property);
    }

  private:
    template <typename Value>
    Value read(const char* interface, const char* property) const
    {
        std::variant<Value> value;
        get(interface, property).read(value);
        return std::get<Value>(value);
    }

    sdbusplus::message::message get(const char* interface,
                                    const char* property) const;

    sdbusplus::bus::bus& bus;
    std::string object;
};
