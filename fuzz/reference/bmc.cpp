// SPDX-License-Identifier: Apache-2.0
#include "../../src/common/core_library.hpp"
#include "reference.hpp"

#include <array>

namespace fuzz
{

int Reference::VerifyBMC(const std::string& image, VersionPurpose purpose,
                         const std::string&)
{
    log.out("int wexa::core::FWManagerInternal::VerifyBMC(std::string, "
            "wexa::core::VersionPurpose, std::string)");
    constexpr std::array names{"Unknown", "Other", "System",
                               "BMC",     "Host",  "PSU"};
    const auto number = static_cast<std::size_t>(purpose);
    if (number >= names.size())
    {
        throw std::invalid_argument("no purpose");
    }
    if (purpose != VersionPurpose::BMC)
    {
        log.out("Unsupport image type: xyz.openbmc_project.Software.Version."
                "VersionPurpose." +
                std::string(names[number]) + " !!");
        return -22;
    }
    return verify("verifyBmc", image);
}

int Reference::UpdateBMC(const std::string& image, VersionPurpose,
                         const std::string&)
{
    log.out("flashWrite bmc-rot2 start.");
    log.out("image_path: " + image);
    const auto startUnit = newStartUnit();
    launched = unitName("bmc-rot2@bmc_rot2\\x20update", image);
    log.out("bmcServiceFile: " + launched);
    try
    {
        start(startUnit);
        return 0;
    }
    catch (const Failure& failure)
    {
        log.err("Error in trying to upgrade bmc-rot2: " +
                std::string(failure.what()));
        return -5;
    }
}

int Reference::onBMCStateChange(sdbusplus::message_t& jobRemoved)
{
    return jobOutcome(jobRemoved);
}

void Reference::onBMCUpdateSuccess()
{
    log.out("void wexa::core::FWManagerInternal::onBMCUpdateSuccess()");
}

UploadResult Reference::processUploadBmcImage(const std::string& image, int,
                                              const std::string&)
{
    log.out("std::map<std::__cxx11::basic_string<char>, "
            "std::__cxx11::basic_string<char> > "
            "wexa::core::FWManagerInternal::processUploadBmcImage("
            "std::string, wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, "
            "std::string)");
    auto path = image;
    const auto version =
        wexa::core::get_bmc_version_string_from_image(path.data());
    if (version.empty())
    {
        log.errNotFlushed("Unable to read version from image\n");
        return {};
    }
    if (VerifyBMC(image, VersionPurpose::BMC, "") != 0)
    {
        log.err("Error !! VerifyBMC failed. image: " + image);
        return {};
    }
    if (!record("stagingBMC", version))
    {
        return {};
    }
    return {{"version", version}, {"extendedVersion", ""}};
}

} // namespace fuzz
