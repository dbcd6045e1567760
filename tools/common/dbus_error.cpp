// SPDX-License-Identifier: Apache-2.0
#include "dbus_error.hpp"

#include <algorithm>
#include <array>
#include <string_view>

std::string dbusErrorIn(const std::string& line)
{
    // A step of sd-bus, then the name, then what the other side says.
    const auto step = line.find("sd_bus_");
    if (step == std::string::npos)
    {
        return {};
    }
    const auto before = line.find(": ", step);
    if (before == std::string::npos)
    {
        return {};
    }
    const auto name = line.substr(before + 2);
    return name.substr(0, std::min(name.find(": "), name.size()));
}

namespace
{

struct Advice
{
    std::string_view name;
    std::string_view hint;
};

constexpr std::array advice{
    Advice{"org.freedesktop.DBus.Error.ServiceUnknown",
           "the service is not on the bus: start it; wexa-fwmgr doctor shows "
           "all that is missing"},
    Advice{"org.freedesktop.DBus.Error.UnknownObject",
           "the service does not have this object; wexa-fwmgr doctor shows "
           "all that is missing"},
    Advice{"org.freedesktop.DBus.Error.UnknownMethod",
           "the service does not offer this method; wexa-fwmgr doctor shows "
           "all that is missing"},
    Advice{"org.freedesktop.DBus.Error.UnknownInterface",
           "the service does not offer this interface; wexa-fwmgr doctor "
           "shows all that is missing"},
    Advice{"org.freedesktop.DBus.Error.UnknownProperty",
           "the service does not have this property; wexa-fwmgr doctor shows "
           "all that is missing"},
    Advice{"org.freedesktop.DBus.Error.Timeout",
           "the service did not answer in time: look at its log, restart it"},
    Advice{"org.freedesktop.DBus.Error.NoReply",
           "the service ended before it answered: look at its log"},
    Advice{"org.freedesktop.DBus.Error.AccessDenied",
           "the service, or the policy of the bus, does not allow this: run "
           "it as root, or look at what the service itself logged"},
    Advice{"org.freedesktop.DBus.Error.Disconnected",
           "the bus closed the connection: start the bus, then run wexa-fwmgr "
           "again"},
    Advice{"System.Error.ENOTCONN",
           "the bus closed the connection: start the bus, then run wexa-fwmgr "
           "again"},
    Advice{"System.Error.ECONNRESET",
           "the bus closed the connection: start the bus, then run wexa-fwmgr "
           "again"},
    Advice{"System.Error.ENXIO",
           "the service answers in another type than the library reads: "
           "update the service"},
    Advice{"org.freedesktop.systemd1.NoSuchUnit",
           "install the template of the flash unit"},
    Advice{
        "org.freedesktop.systemd1.UnitMasked",
        "unmask the template of the flash unit; wexa-fwmgr doctor shows how"},
};

} // namespace

std::string hintFor(const std::string& dbusError, const std::string& ofItsOwn)
{
    const auto* const found =
        std::ranges::find(advice, dbusError, &Advice::name);
    if (found != advice.end())
    {
        return std::string(found->hint);
    }
    const auto isItsOwn = !dbusError.starts_with("org.freedesktop.DBus.Error.");
    return isItsOwn && !ofItsOwn.empty()
               ? ofItsOwn
               : "look at what the service itself logged";
}
