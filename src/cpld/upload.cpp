// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

UploadResult FWManagerInternal::processUploadCpldImage(
    std::string imagePath, UPLOAD_IMG_TYPE, std::string componentName)
{
    log::progress(
        "std::map<std::__cxx11::basic_string<char>, "
        "std::__cxx11::basic_string<char> > "
        "wexa::core::FWManagerInternal::processUploadCpldImage(std::string, "
        "wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, std::string)\n");

    const auto version =
        getCPLDImageFileVersionString(componentName, imagePath);
    if (version.empty())
    {
        log::error(
            "Error !! Failed to get version string from image file: {}\n",
            imagePath);
        return {};
    }

    // Not an enumerator of the platform. VerifyCPLD ignores the purpose.
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
    constexpr auto cpld = static_cast<VersionPurpose>(7);
    if (VerifyCPLD(imagePath, cpld, componentName) != 0)
    {
        log::error("Error !! VerifyCPLD failed. comp: {}, image: {}\n",
                   componentName, imagePath);
        return {};
    }

    return {{"version", version},
            {"extendedVersion", componentName},
            {"exposeName", "Staging_" + componentName}};
}

} // namespace wexa::core
