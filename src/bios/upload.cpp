// SPDX-License-Identifier: Apache-2.0
#include "../common/core_library.hpp"
#include "../common/log.hpp"
#include "../common/staged_version.hpp"
#include "apply_time.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <array>
#include <cstring>

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

UploadResult FWManagerInternal::processUploadBiosImage(std::string imagePath,
                                                       UPLOAD_IMG_TYPE,
                                                       std::string)
{
    log::progress(
        "std::map<std::__cxx11::basic_string<char>, "
        "std::__cxx11::basic_string<char> > "
        "wexa::core::FWManagerInternal::processUploadBiosImage(std::string, "
        "wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, std::string)\n");

    TextBuffer versionBuffer = {};
    std::string version;
    std::string stagedVersion;
    const char* stagingKey = nullptr;
    if (const auto kind = check_bios_seamless_capsule(imagePath.data());
        isCapsule(kind))
    {
        if (get_capsule_version_from_image(imagePath.data(),
                                           versionBuffer.data(),
                                           versionBuffer.size(), kind) != 0)
        {
            log::errorUnflushed("Unable to read version from capsule image\n");
            return {};
        }

        version = textOf(versionBuffer);
        stagedVersion = version;
        stagingKey = "stagingCapsuleMCU";

        if (VerifyCapsule(imagePath, VersionPurpose::Host, "") != 0)
        {
            log::error("Error !! VerifyCapsule failed. image: {}\n", imagePath);
            return {};
        }
    }
    else
    {
        TextBuffer dateBuffer = {};
        if (get_bios_version_from_image(imagePath.data(), versionBuffer.data(),
                                        versionBuffer.size(), dateBuffer.data(),
                                        dateBuffer.size()) != 0)
        {
            log::errorUnflushed("Unable to read version from bios image\n");
            return {};
        }
        if (!compare_boardID(imagePath))
        {
            return {};
        }

        version = textOf(versionBuffer);
        stagedVersion = "BIOS Date: " + textOf(dateBuffer) + " Ver " + version;
        stagingKey = "stagingBIOS";

        if (VerifyBIOS(imagePath, VersionPurpose::Host, "") != 0)
        {
            log::error("Error !! VerifyBIOS failed. image: {}\n", imagePath);
            return {};
        }
    }

    if (!recordStagedVersion(bus, stagingKey, stagedVersion))
    {
        return {};
    }

    UploadResult result{{"version", version}, {"extendedVersion", ""}};
    addApplyTime(bus, result);
    return result;
}

} // namespace wexa::core
