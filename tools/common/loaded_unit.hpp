// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "object_path.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <map>
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

    /** Exit statuses and signals that count as success besides 0. */
    using ExitStatusSet =
        std::tuple<std::vector<std::int32_t>, std::vector<std::int32_t>>;

    /** The job of a unit: its number, 0 for none, and its object. */
    using Job = std::tuple<std::uint32_t, ObjectPath>;

    /** Has systemd load it, and takes its properties as they are now.
     *
     *  @throw sdbusplus::exception_t  systemd does not tell them
     */
    LoadedUnit(sdbusplus::bus_t& bus, const std::string& name);

    /** The path of its D-Bus object. */
    const std::string& path() const
    {
        return object;
    }

    /** A property of the unit or of its service; the type's default where
     *  this systemd does not tell it.
     */
    template <typename Value>
    Value get(const std::string& property) const
    {
        const auto found = properties.find(property);
        const auto* const value = found == properties.end()
                                      ? nullptr
                                      : std::get_if<Value>(&found->second);
        return value == nullptr ? Value() : *value;
    }

  private:
    /** Values of other types are read as the first. */
    using Properties =
        std::map<std::string,
                 std::variant<bool, std::string, std::int32_t, std::uint64_t,
                              std::vector<std::uint8_t>,
                              std::vector<std::string>, Job, ExitStatusSet,
                              std::vector<Condition>, std::vector<Command>>>;

    std::string object;
    Properties properties;
};
