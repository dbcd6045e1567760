// SPDX-License-Identifier: Apache-2.0
#include "../common/core_library.hpp"
#include "../common/log.hpp"
#include "../common/staged_version.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

UploadResult FWManagerInternal::processUploadBmcImage(std::string imagePath,
                                                      UPLOAD_IMG_TYPE,
                                                      std::string)
{
    log::progress(
        "std::map<std::__cxx11::basic_string<char>, "
        "std::__cxx11::basic_string<char> > "
        "wexa::core::FWManagerInternal::processUploadBmcImage(std::string, "
        "wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, std::string)\n");

    const auto version = get_bmc_version_string_from_image(imagePath.data());
    if (version.empty())
    {
        log::errorUnflushed("Unable to read version from image\n");
        return {};
    }

    if (VerifyBMC(imagePath, VersionPurpose::BMC, "") != 0)
    {
        log::error("Error !! VerifyBMC failed. image: {}\n", imagePath);
        return {};
    }

    if (!recordStagedVersion(bus, "stagingBMC", version))
    {
        return {};
    }

    return {{"version", version}, {"extendedVersion", ""}};
}

} // namespace wexa::core
