// SPDX-License-Identifier: Apache-2.0
#include "reference.hpp"
#include "signed_image.hpp"

namespace fuzz
{

static const std::string service = "xyz.openbmc_project.CpldUpdateMgrSvc";
static const std::string managerPath = "/xyz/openbmc_project/cpld_update_mgr";
static const std::string managerInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
static const std::string deviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";

static Message newBoundDevices(sd_bus* bus)
{
    return newCall(bus, service.c_str(), managerPath, managerInterface.c_str(),
                   "bindedDevices");
}

PropertyMap Reference::getCPLDImageFileInfo(const std::string& component,
                                            const std::string& image)
{
    const auto found = signedImage(image);
    if (!found)
    {
        log.err("ERROR !! File " + image + " does NOT exists");
        return {};
    }

    const auto boundDevices = newBoundDevices(bus);
    std::map<std::string, Device> devices;
    try
    {
        devices = readRegistry(call(bus, boundDevices).get());
    }
    catch (const Failure& failure)
    {
        log.err("ERROR !! Failed to prepare CPLD info: (" + service + ", " +
                managerPath + ", " + managerInterface + "): " + failure.what());
        return {};
    }

    if (devices.count(component) == 0)
    {
        // sd-bus makes no call without a member.
        newCall(bus, service.c_str(), managerPath, managerInterface.c_str(),
                "");
    }
    const auto path = devices[component].path;
    const auto read =
        newCall(bus, service.c_str(), path, deviceInterface.c_str(),
                "readImageFileInfo", *found);
    try
    {
        return readProperties(call(bus, read).get());
    }
    catch (const Failure& failure)
    {
        log.err("ERROR !! Failed to prepare CPLD image file info: (" + service +
                ", " + path + ", " + deviceInterface +
                ", image file: " + *found + "): " + failure.what());
        return {};
    }
}

std::string Reference::getCPLDVersionString(const std::string& device)
{
    if (device.empty())
    {
        log.err("ERROR !! device objpath is empty");
        return {};
    }
    const auto read = newCall(bus, service.c_str(), device,
                              deviceInterface.c_str(), "readMBVersionString");
    try
    {
        return readText(call(bus, read).get());
    }
    catch (const Failure& failure)
    {
        log.err("Error in method call for (" + service + ", " + device + ", " +
                deviceInterface + ": " + failure.what() + ")");
        return {};
    }
}

std::string
Reference::getCPLDImageFileVersionString(const std::string& component,
                                         const std::string& image)
{
    auto properties = getCPLDImageFileInfo(component, image);
    if (properties.empty())
    {
        log.err("Failed to get cpld image file info");
        return {};
    }
    if (properties.count("versionString") == 0)
    {
        log.err("Failed to get cpld image version string");
        return {};
    }
    const auto version = std::get<std::string>(properties["versionString"]);
    if (version.empty())
    {
        log.err("Version string is empty");
    }
    return version;
}

CpldComponentMap Reference::getAvailableCpldCompsInfo()
{
    log.out("[getAvailableCpldCompsInfo]");
    const auto boundDevices = newBoundDevices(bus);
    try
    {
        CpldComponentMap components;
        for (const auto& [name, device] :
             readRegistry(call(bus, boundDevices).get()))
        {
            log.out("Add component " + name + ", dev " + device.path +
                    ", drv " + device.driver);
            components.emplace(name,
                               std::tuple(getCPLDVersionString(device.path),
                                          device.properties));
        }
        return components;
    }
    catch (const Failure& failure)
    {
        log.err("ERROR !! Failed to prepare CPLD info: " +
                std::string(failure.what()));
        return {};
    }
}

int Reference::VerifyCPLD(const std::string& image, VersionPurpose,
                          const std::string& component)
{
    log.out("int wexa::core::FWManagerInternal::VerifyCPLD(std::string, "
            "wexa::core::VersionPurpose, std::string)");
    log.out("Verify " + component + ", image: " + image);
    if (component.empty())
    {
        log.err("ERROR !! Failed to obtain component name.");
        return -22;
    }

    const auto boundDevices = newBoundDevices(bus);
    std::map<std::string, Device> devices;
    try
    {
        devices = readRegistry(call(bus, boundDevices).get());
    }
    catch (const Failure& failure)
    {
        log.err("ERROR !! Failed to obtain avaialble CPLD devices. (" +
                service + "," + managerPath + "," + managerInterface +
                "): " + failure.what());
        return -5;
    }
    if (devices.count(component) == 0)
    {
        log.err("ERROR !! Failed to find the target CPLD device: " + component);
        return -2;
    }

    const auto path = devices[component].path;
    const auto verification =
        newCall(bus, service.c_str(), path, deviceInterface.c_str(),
                "verifyCPLD", image);
    log.out("verify image: " + image);
    try
    {
        const auto good = readBool(call(bus, verification).get());
        log.out(good ? "Verify OK" : "Verify failed");
        return good ? 0 : -1;
    }
    catch (const Failure& failure)
    {
        log.err("Error in security method call for (" + path + ", " +
                deviceInterface + ": " + failure.what());
        return -5;
    }
}

int Reference::UpdateCPLD(const std::string& image, VersionPurpose,
                          const std::string& component)
{
    log.out("int wexa::core::FWManagerInternal::UpdateCPLD(std::string, "
            "wexa::core::VersionPurpose, std::string)");
    log.out("flashWrite cpld-rot2 start.");
    log.out("compoment: " + component + ", image_path: " + image);
    const auto startUnit = newStartUnit();
    launched =
        unitName("bmc-rot2@cpld_rot2\\x20update\\x20" + component, image);
    try
    {
        const auto accepted = readBool(start(startUnit).get());
        log.out(accepted ? "Verify OK" : "Verify false");
        return accepted ? 0 : -1;
    }
    catch (const Failure& failure)
    {
        log.err("Error in trying to upgrade cpld_rot2: " +
                std::string(failure.what()));
        return -5;
    }
}

int Reference::onCPLDStateChange(sdbusplus::message_t& jobRemoved)
{
    return jobOutcome(jobRemoved);
}

void Reference::onCPLDUpdateSuccess() {}

int Reference::onCPLDNotifiedSignal(const std::string&)
{
    log.out("int wexa::core::FWManagerInternal::onCPLDNotifiedSignal("
            "std::string)");
    return 0;
}

UploadResult Reference::processUploadCpldImage(const std::string& image, int,
                                               const std::string& component)
{
    log.out("std::map<std::__cxx11::basic_string<char>, "
            "std::__cxx11::basic_string<char> > "
            "wexa::core::FWManagerInternal::processUploadCpldImage("
            "std::string, wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, "
            "std::string)");
    const auto version = getCPLDImageFileVersionString(component, image);
    if (version.empty())
    {
        log.err("Error !! Failed to get version string from image file: " +
                image);
        return {};
    }
    if (VerifyCPLD(image, VersionPurpose::Unknown, component) != 0)
    {
        log.err("Error !! VerifyCPLD failed. comp: " + component +
                ", image: " + image);
        return {};
    }
    return {{"version", version},
            {"extendedVersion", component},
            {"exposeName", "Staging_" + component}};
}

} // namespace fuzz
