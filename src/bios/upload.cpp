// SPDX-License-Identifier: Apache-2.0
#include "../common/core_library.hpp"
#include "../common/log.hpp"
#include "../common/staged_version.hpp"
#include "apply_time.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <array>
#include <cstring>
#include <optional>

namespace wexa::core
{

/** What the core library fills with a text. */
using TextBuffer = std::array<char, 64>;

static std::string textOf(const TextBuffer& buffer)
{
    return {buffer.data(), strnlen(buffer.data(), buffer.size())};
}

static bool isCapsule(int kind)
{
    return kind >= 1 && kind <= 3;
}

/** What is recorded of a verified image, and under which property. */
struct StagedImage
{
    const char* property;
    std::string version;
    std::string recordedVersion;
};

static std::optional<StagedImage>
verifiedCapsule(FWManagerInternal& manager, std::string& imagePath, int kind)
{
    TextBuffer version = {};
    if (get_capsule_version_from_image(imagePath.data(), version.data(),
                                       version.size(), kind) != 0)
    {
        log::errorUnflushed("Unable to read version from capsule image\n");
        return {};
    }

    if (manager.VerifyCapsule(imagePath, VersionPurpose::Host, "") != 0)
    {
        log::error("Error !! VerifyCapsule failed. image: {}\n", imagePath);
        return {};
    }

    return StagedImage{"stagingCapsuleMCU", textOf(version), textOf(version)};
}

static std::optional<StagedImage> verifiedImage(FWManagerInternal& manager,
                                                std::string& imagePath)
{
    TextBuffer version = {};
    TextBuffer date = {};
    if (get_bios_version_from_image(imagePath.data(), version.data(),
                                    version.size(), date.data(),
                                    date.size()) != 0)
    {
        log::errorUnflushed("Unable to read version from bios image\n");
        return {};
    }
    if (!manager.compare_boardID(imagePath))
    {
        return {};
    }

    if (manager.VerifyBIOS(imagePath, VersionPurpose::Host, "") != 0)
    {
        log::error("Error !! VerifyBIOS failed. image: {}\n", imagePath);
        return {};
    }

    return StagedImage{"stagingBIOS", textOf(version),
                       "BIOS Date: " + textOf(date) + " Ver " +
                           textOf(version)};
}

UploadResult FWManagerInternal::processUploadBiosImage(std::string imagePath,
                                                       UPLOAD_IMG_TYPE,
                                                       std::string)
{
    log::progress(
        "std::map<std::__cxx11::basic_string<char>, "
        "std::__cxx11::basic_string<char> > "
        "wexa::core::FWManagerInternal::processUploadBiosImage(std::string, "
        "wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, std::string)\n");

    const auto kind = check_bios_seamless_capsule(imagePath.data());
    const auto image = isCapsule(kind) ? verifiedCapsule(*this, imagePath, kind)
                                       : verifiedImage(*this, imagePath);
    if (!image ||
        !recordStagedVersion(bus, image->property, image->recordedVersion))
    {
        return {};
    }

    UploadResult result{{"version", image->version}, {"extendedVersion", ""}};
    addApplyTime(bus, result);
    return result;
}

} // namespace wexa::core
