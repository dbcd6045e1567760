// SPDX-License-Identifier: Apache-2.0
#include "reference.hpp"

namespace fuzz
{

int Reference::verify(const char* member, const std::string& image)
{
    const auto verification =
        newCall(bus, "xyz.openbmc_project.SecurityManager",
                "/xyz/openbmc_project/security",
                "xyz.openbmc_project.security.SecurityManager", member, image);
    log.out("verify image: " + image);
    try
    {
        const auto good = readBool(call(bus, verification).get());
        log.out(good ? "Verify OK" : "Verify false");
        return good ? 0 : -1;
    }
    catch (const Failure& failure)
    {
        log.err("Error in security method call for "
                "(/xyz/openbmc_project/security, "
                "xyz.openbmc_project.security.SecurityManager: " +
                std::string(failure.what()));
        return -5;
    }
}

int Reference::jobOutcome(sdbusplus::message_t& jobRemoved)
{
    auto* const message = jobRemoved.get();
    const auto job = readNumber(message);
    const auto path = readText(message, 'o');
    const auto unit = readText(message);
    const auto result = readText(message);
    for (const auto& line :
         {std::to_string(job), path, unit, result, "serviceFile: " + launched})
    {
        log.out(line);
    }
    if (unit != launched)
    {
        return 0;
    }
    return result == "done" ? 1 : 2;
}

Message Reference::newStartUnit()
{
    return newCall(bus, "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                   "org.freedesktop.systemd1.Manager", "StartUnit");
}

Message Reference::start(const Message& startUnit)
{
    for (const auto* argument : {launched.c_str(), "replace"})
    {
        sd_bus_message_append_basic(startUnit.get(), 's', argument);
    }
    return call(bus, startUnit);
}

std::string Reference::unitName(const std::string& name,
                                const std::string& image)
{
    std::string unit = "obmc-flash-" + name + "\\x20";
    for (const auto character : image)
    {
        unit += character == '/' ? '-' : character;
    }
    return unit + ".service";
}

bool Reference::record(const char* property, const std::string& version)
{
    const std::string interface = "xyz.openbmc_project.fwinfo.FwInfoManager";
    const auto setting = newCall(bus, "xyz.openbmc_project.FwInfoManager",
                                 "/xyz/openbmc_project/fwinfo",
                                 "org.freedesktop.DBus.Properties", "Set",
                                 interface, std::string(property));
    sd_bus_message_append(setting.get(), "v", "s", version.c_str());
    try
    {
        call(bus, setting);
        return true;
    }
    catch (const Failure& failure)
    {
        log.err("Error in fwinfo method call for "
                "(/xyz/openbmc_project/fwinfo, " +
                interface + ": " + failure.what());
        return false;
    }
}

} // namespace fuzz
