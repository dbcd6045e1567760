// SPDX-License-Identifier: Apache-2.0
#include "firmware_kind.hpp"

#include "core_library.hpp"

#include <algorithm>

using wexa::core::FWManagerInternal;
using wexa::core::UploadResult;
using wexa::core::VersionPurpose;

namespace
{

std::string unitName(const std::string& unitTemplate, const std::string& word,
                     std::string image)
{
    std::ranges::replace(image, '/', '-');
    return unitTemplate + word + R"(\x20update\x20)" + image + ".service";
}

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

    std::string flashUnit(const std::string& image) const override
    {
        return unitName("obmc-flash-bmc-rot2@", "bmc_rot2", image);
    }

    UploadResult upload(Manager& manager,
                        const std::string& image) const override
    {
        return manager.processUploadBmcImage(image, Manager::UPLOAD_IMG_BMC,
                                             "");
    }

    int verify(Manager& manager, const std::string& image) const override
    {
        return manager.VerifyBMC(image, VersionPurpose::BMC, "");
    }

    int update(Manager& manager, const std::string& image) const override
    {
        return manager.UpdateBMC(image, VersionPurpose::BMC, "");
    }

    int stateChanged(Manager& manager,
                     sdbusplus::message::message& job) const override
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

    std::string flashUnit(const std::string& image) const override
    {
        return unitName("obmc-flash-host-bios@", "bios_rot2", image);
    }

    UploadResult upload(Manager& manager,
                        const std::string& image) const override
    {
        return manager.processUploadBiosImage(image, Manager::UPLOAD_IMG_BIOS,
                                              "");
    }

    int verify(Manager& manager, const std::string& image) const override
    {
        return isCapsule(image)
                   ? manager.VerifyCapsule(image, VersionPurpose::Host, "")
                   : manager.VerifyBIOS(image, VersionPurpose::Host, "");
    }

    int update(Manager& manager, const std::string& image) const override
    {
        return manager.UpdateBIOS(image, VersionPurpose::Host, "");
    }

    int stateChanged(Manager& manager,
                     sdbusplus::message::message& job) const override
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

} // namespace

const std::vector<const FirmwareKind*>& firmwareKinds()
{
    static const Bmc bmc;
    static const Bios bios;
    static const std::vector<const FirmwareKind*> all{&bmc, &bios};
    return all;
}

const FirmwareKind& firmwareKindNamed(const std::string& name)
{
    return **std::ranges::find(firmwareKinds(), name,
                               [](const auto* kind) { return kind->name(); });
}
