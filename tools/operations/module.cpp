// SPDX-License-Identifier: Apache-2.0
#include "core_library.hpp"
#include "library.hpp"

// All that calls the library and the core library. It is the module.

using wexa::core::VersionPurpose;

static bool isCapsule(std::string image)
{
    const auto kind = wexa::core::check_bios_seamless_capsule(image.data());
    return kind >= 1 && kind <= 3;
}

static int boardOf(std::string image)
{
    return wexa::core::get_bios_board_id(image.data());
}

[[gnu::visibility("default")]] const Library* wexaFwmgrLibrary()
{
    using Manager = Library::Manager;
    const FirmwareKind biosImage{"bios",
                                 "BIOS image",
                                 nullptr,
                                 true,
                                 true,
                                 Manager::UPLOAD_IMG_BIOS,
                                 VersionPurpose::Host,
                                 &Manager::processUploadBiosImage,
                                 &Manager::VerifyBIOS,
                                 &Manager::UpdateBIOS,
                                 &Manager::onBIOSStateChange,
                                 &Manager::onBIOSUpdateSuccess};
    auto capsule = biosImage;
    capsule.words = "BIOS capsule";
    capsule.includes = isCapsule;
    capsule.tellsItsBoard = false;
    capsule.verify = &Manager::VerifyCapsule;
    static const Library library{
        {{"bmc", "BMC image", nullptr, false, false, Manager::UPLOAD_IMG_BMC,
          VersionPurpose::BMC, &Manager::processUploadBmcImage,
          &Manager::VerifyBMC, &Manager::UpdateBMC, &Manager::onBMCStateChange,
          &Manager::onBMCUpdateSuccess},
         capsule,
         biosImage,
         {"cpld", "CPLD image", nullptr, false, false, Manager::UPLOAD_IMG_CPLD,
          VersionPurpose::Other, &Manager::processUploadCpldImage,
          &Manager::VerifyCPLD, &Manager::UpdateCPLD,
          &Manager::onCPLDStateChange, &Manager::onCPLDUpdateSuccess}},
        [](sdbusplus::bus_t& bus) { return Manager(bus); },
        &Manager::compare_boardID,
        &Manager::getCPLDImageFileInfo,
        &Manager::getAvailableCpldCompsInfo,
        &Manager::getCpldNotifiedRulesPattern,
        boardOf};
    return &library;
}
