// SPDX-License-Identifier: Apache-2.0
#include "core_library.hpp"
#include "library.hpp"

// All that calls the library and the core library. It is the module.

using wexa::core::UploadResult;
using wexa::core::VersionPurpose;

namespace
{

class Bmc : public FirmwareKind
{
  public:
    std::string name() const override
    {
        return "bmc";
    }

    std::string wordsFor(std::string) const override
    {
        return "BMC image";
    }

    UploadResult upload(Manager& manager, const Target& target) const override
    {
        return manager.processUploadBmcImage(target.image,
                                             Manager::UPLOAD_IMG_BMC, "");
    }

    int verify(Manager& manager, const Target& target) const override
    {
        return manager.VerifyBMC(target.image, VersionPurpose::BMC, "");
    }

    int update(Manager& manager, const Target& target) const override
    {
        return manager.UpdateBMC(target.image, VersionPurpose::BMC, "");
    }

    int stateChanged(Manager& manager, sdbusplus::message_t& job) const override
    {
        return manager.onBMCStateChange(job);
    }

    void succeeded(Manager& manager) const override
    {
        manager.onBMCUpdateSuccess();
    }
};

/** Images and capsules, told by their content. */
class Bios : public FirmwareKind
{
  public:
    std::string name() const override
    {
        return "bios";
    }

    std::string wordsFor(std::string image) const override
    {
        return isCapsule(std::move(image)) ? "BIOS capsule" : "BIOS image";
    }

    bool hasApplyTime() const override
    {
        return true;
    }

    bool tellsItsBoard(std::string image) const override
    {
        return !isCapsule(std::move(image));
    }

    UploadResult upload(Manager& manager, const Target& target) const override
    {
        return manager.processUploadBiosImage(target.image,
                                              Manager::UPLOAD_IMG_BIOS, "");
    }

    int verify(Manager& manager, const Target& target) const override
    {
        return isCapsule(target.image)
                   ? manager.VerifyCapsule(target.image, VersionPurpose::Host,
                                           "")
                   : manager.VerifyBIOS(target.image, VersionPurpose::Host, "");
    }

    int update(Manager& manager, const Target& target) const override
    {
        return manager.UpdateBIOS(target.image, VersionPurpose::Host, "");
    }

    int stateChanged(Manager& manager, sdbusplus::message_t& job) const override
    {
        return manager.onBIOSStateChange(job);
    }

    void succeeded(Manager& manager) const override
    {
        manager.onBIOSUpdateSuccess();
    }

  private:
    static bool isCapsule(std::string image)
    {
        const auto kind = wexa::core::check_bios_seamless_capsule(image.data());
        return kind >= 1 && kind <= 3;
    }
};

/** One image for each component. */
class Cpld : public FirmwareKind
{
  public:
    std::string name() const override
    {
        return "cpld";
    }

    std::string wordsFor(std::string) const override
    {
        return "CPLD image";
    }

    bool hasComponents() const override
    {
        return true;
    }

    UploadResult upload(Manager& manager, const Target& target) const override
    {
        return manager.processUploadCpldImage(
            target.image, Manager::UPLOAD_IMG_CPLD, target.component);
    }

    int verify(Manager& manager, const Target& target) const override
    {
        return manager.VerifyCPLD(target.image, VersionPurpose::Other,
                                  target.component);
    }

    int update(Manager& manager, const Target& target) const override
    {
        return manager.UpdateCPLD(target.image, VersionPurpose::Other,
                                  target.component);
    }

    int stateChanged(Manager& manager, sdbusplus::message_t& job) const override
    {
        return manager.onCPLDStateChange(job);
    }

    void succeeded(Manager& manager) const override
    {
        manager.onCPLDUpdateSuccess();
    }
};

} // namespace

[[gnu::visibility("default")]] const Library* wexaFwmgrLibrary()
{
    using Manager = Library::Manager;
    static const Bmc bmc;
    static const Bios bios;
    static const Cpld cpld;
    static const Library library{
        {&bmc, &bios, &cpld},
        [](sdbusplus::bus_t& bus) { return Manager(bus); },
        &Manager::compare_boardID,
        &Manager::getCPLDImageFileInfo,
        &Manager::getAvailableCpldCompsInfo,
        &Manager::getCpldNotifiedRulesPattern,
        [](std::string image) {
            return wexa::core::get_bios_board_id(image.data());
        }};
    return &library;
}
