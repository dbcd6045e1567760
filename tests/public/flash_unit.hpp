// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

const std::string dbus = "org.freedesktop.DBus";
const std::string systemd = "org.freedesktop.systemd1";

/** Calls a method, and returns its reply; throws where that fails. */
template <typename... Arguments>
sdbusplus::message_t call(sdbusplus::bus_t& bus, const std::string& service,
                          const std::string& path, const std::string& interface,
                          const char* member, const Arguments&... arguments)
{
    auto made = bus.new_method_call(service.c_str(), path.c_str(),
                                    interface.c_str(), member);
    made.append(arguments...);
    return bus.call(made);
}

namespace release // of sdbusplus: it decides where object_path is
{
using namespace sdbusplus;
using namespace sdbusplus::message;
using Path = object_path;
} // namespace release

using release::Path;

/** A flash unit, as systemd itself tells of it. Make it before the
 *  launch. It throws where systemd does not answer.
 */
class FlashUnit
{
  public:
    /** @param device  such as "obmc-flash-bmc-rot2@bmc_rot2" */
    FlashUnit(sdbusplus::bus_t& bus, const std::string& device,
              std::string image) : bus(bus), device{device + "*"}
    {
        std::ranges::replace(image, '/', '-');
        name = device + "\\x20update\\x20" + image + ".service";
        manage("RefUnit", name); // else systemd forgets it when it has ended
        before = look();
    }

    ~FlashUnit()
    {
        try
        {
            manage("UnrefUnit", name);
        }
        catch (const std::exception&) // the connection's end does the same
        {}
    }

    FlashUnit(const FlashUnit&) = delete;
    FlashUnit& operator=(const FlashUnit&) = delete;

    /** Whether a flash of the device, of any image, runs or is queued. */
    bool isBusy()
    {
        using std::string;
        std::vector<std::tuple<string, string, string, string, string, string,
                               Path, std::uint32_t, string, Path>>
            units;
        manage("ListUnitsByPatterns", std::vector<string>(), device)
            .read(units);
        return std::ranges::any_of(units, [](const auto& unit) {
            return std::get<3>(unit).ends_with("activating") ||
                   std::get<7>(unit) != 0;
        });
    }

    /** Whether the unit has run since it was held, and says that it flashed. */
    bool hasFlashed()
    {
        const Values success{{"ConditionResult", true},
                             {"ExecMainStatus", 0},
                             {"Result", "success"},
                             {"Type", "oneshot"}};
        auto now = look();
        return now["InvocationID"] != before["InvocationID"] &&
               std::ranges::all_of(success, [&](const auto& value) {
                   return now[value.first] == value.second;
               });
    }

  private:
    using Values =
        std::map<std::string, std::variant<std::string, bool, std::int32_t,
                                           std::vector<std::uint8_t>>>;

    template <typename... Arguments>
    sdbusplus::message_t manage(const char* member,
                                const Arguments&... arguments)
    {
        return call(bus, systemd, "/org/freedesktop/systemd1",
                    systemd + ".Manager", member, arguments...);
    }

    Values look()
    {
        Path path;
        manage("GetUnit", name).read(path);
        Values values;
        call(bus, systemd, path.str, dbus + ".Properties", "GetAll", "")
            .read(values);
        return values;
    }

    sdbusplus::bus_t& bus;
    std::vector<std::string> device;
    std::string name;
    Values before;
};
