// SPDX-License-Identifier: Apache-2.0
#include "../../src/common/core_library.hpp"
#include "reference.hpp"

namespace fuzz
{

static Message newGet(sd_bus* bus, const char* service, const char* path,
                      const std::string& interface, const std::string& property)
{
    return newCall(bus, service, path, "org.freedesktop.DBus.Properties", "Get",
                   interface, property);
}

bool Reference::compare_boardID(const std::string& image)
{
    const auto get = newGet(bus, "com.WEXA.Host", "/com/WEXA/Host",
                            "com.WEXA.Host", "BoardId");
    int host = 0;
    try
    {
        host = readShortInside(call(bus, get).get());
    }
    catch (const Failure& failure)
    {
        log.err("boardID is mismatch: " + std::string(failure.what()));
        return false;
    }
    auto path = image;
    if (wexa::core::get_bios_board_id(path.data()) != host)
    {
        log.errNotFlushed("boardID is mismatch\n");
        return false;
    }
    return true;
}

int Reference::VerifyBIOS(const std::string& image, VersionPurpose,
                          const std::string&)
{
    log.out("int wexa::core::FWManagerInternal::VerifyBIOS(std::string, "
            "wexa::core::VersionPurpose, std::string)");
    return verify("verifyBios", image);
}

int Reference::VerifyCapsule(const std::string& image, VersionPurpose,
                             const std::string&)
{
    log.out("int wexa::core::FWManagerInternal::VerifyCapsule(std::string, "
            "wexa::core::VersionPurpose, std::string)");
    return verify("verifyCapsule", image);
}

int Reference::UpdateBIOS(const std::string& image, VersionPurpose,
                          const std::string&)
{
    log.out("flashWriteBios: " + image);
    const auto startUnit = newStartUnit();
    launched = unitName("host-bios@bios_rot2\\x20update", image);
    try
    {
        start(startUnit);
        return 0;
    }
    catch (const Failure& failure)
    {
        log.err("Error in trying to upgrade Host Bios: " +
                std::string(failure.what()));
        return -5;
    }
}

int Reference::onBIOSStateChange(sdbusplus::message_t& jobRemoved)
{
    return jobOutcome(jobRemoved);
}

void Reference::onBIOSUpdateSuccess()
{
    log.out("void wexa::core::FWManagerInternal::onBIOSUpdateSuccess()");
}

void Reference::addApplyTime(UploadResult& result)
{
    const std::string interface = "xyz.openbmc_project.Software.ApplyTime";
    const auto get = newGet(bus, "xyz.openbmc_project.Settings",
                            "/xyz/openbmc_project/software/apply_time",
                            interface, "RequestedApplyTime");
    try
    {
        const auto requested = readTextInside(call(bus, get).get());
        const auto length = (interface + ".RequestedApplyTimes.").size();
        const auto name = requested.substr(std::min(length, requested.size()));
        if (requested == interface + ".RequestedApplyTimes." + name &&
            (name == "OnReset" || name == "Immediate" ||
             name == "OnStartUpdateRequest"))
        {
            result["applyTime"] = name;
        }
    }
    catch (const Failure& failure)
    {
        log.err("Error in getting ApplyTime: "
                "(/xyz/openbmc_project/software/apply_time, " +
                interface + ": " + failure.what());
    }
}

/** Up to the first NUL, or all of it. */
static std::string textIn(const std::string& buffer)
{
    return buffer.substr(0, buffer.find('\0'));
}

constexpr int textSize = 64;

UploadResult Reference::processUploadBiosImage(const std::string& image, int,
                                               const std::string&)
{
    log.out("std::map<std::__cxx11::basic_string<char>, "
            "std::__cxx11::basic_string<char> > "
            "wexa::core::FWManagerInternal::processUploadBiosImage("
            "std::string, wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, "
            "std::string)");
    auto path = image;
    const auto kind = wexa::core::check_bios_seamless_capsule(path.data());
    return kind == 1 || kind == 2 || kind == 3 ? uploadCapsule(image, kind)
                                               : uploadBios(image);
}

UploadResult Reference::uploadCapsule(const std::string& image, int kind)
{
    auto path = image;
    std::string buffer(textSize, '\0');
    if (wexa::core::get_capsule_version_from_image(path.data(), buffer.data(),
                                                   textSize, kind) != 0)
    {
        log.errNotFlushed("Unable to read version from capsule image\n");
        return {};
    }
    if (VerifyCapsule(image, VersionPurpose::Host, "") != 0)
    {
        log.err("Error !! VerifyCapsule failed. image: " + image);
        return {};
    }
    return finishBiosUpload("stagingCapsuleMCU", textIn(buffer),
                            textIn(buffer));
}

UploadResult Reference::uploadBios(const std::string& image)
{
    auto path = image;
    std::string buffer(textSize, '\0');
    std::string date(textSize, '\0');
    if (wexa::core::get_bios_version_from_image(
            path.data(), buffer.data(), textSize, date.data(), textSize) != 0)
    {
        log.errNotFlushed("Unable to read version from bios image\n");
        return {};
    }
    if (!compare_boardID(image))
    {
        return {};
    }
    if (VerifyBIOS(image, VersionPurpose::Host, "") != 0)
    {
        log.err("Error !! VerifyBIOS failed. image: " + image);
        return {};
    }
    return finishBiosUpload(
        "stagingBIOS", "BIOS Date: " + textIn(date) + " Ver " + textIn(buffer),
        textIn(buffer));
}

UploadResult Reference::finishBiosUpload(const char* property,
                                         const std::string& staged,
                                         const std::string& version)
{
    if (!record(property, staged))
    {
        return {};
    }
    UploadResult result{{"version", version}, {"extendedVersion", ""}};
    addApplyTime(result);
    return result;
}

} // namespace fuzz
