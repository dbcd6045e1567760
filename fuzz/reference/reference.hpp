// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log.hpp"
#include "remote.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <string>

namespace fuzz
{

using wexa::core::CpldComponentMap;
using wexa::core::PropertyMap;
using wexa::core::UploadResult;
using wexa::core::VersionPurpose;

/** What the library must do, once more: its operations in plain sd-bus, from
 *  what its header and its documents say. Of src/ only the
 *  declarations of the core library; of sdbusplus the message that the
 *  interface hands over.
 *
 *  Results are the library's; where that throws SdBusError it is a `Failure`.
 */
class Reference
{
  public:
    Reference(sd_bus* bus, Log& log) : bus(bus), log(log) {}

    int VerifyBMC(const std::string& image, VersionPurpose purpose,
                  const std::string&);
    int UpdateBMC(const std::string& image, VersionPurpose, const std::string&);
    int onBMCStateChange(sdbusplus::message_t& jobRemoved);
    void onBMCUpdateSuccess();
    UploadResult processUploadBmcImage(const std::string& image, int,
                                       const std::string&);

    bool compare_boardID(const std::string& image);
    int VerifyBIOS(const std::string& image, VersionPurpose,
                   const std::string&);
    int VerifyCapsule(const std::string& image, VersionPurpose,
                      const std::string&);
    int UpdateBIOS(const std::string& image, VersionPurpose,
                   const std::string&);
    int onBIOSStateChange(sdbusplus::message_t& jobRemoved);
    void onBIOSUpdateSuccess();
    UploadResult processUploadBiosImage(const std::string& image, int,
                                        const std::string&);

    PropertyMap getCPLDImageFileInfo(const std::string& component,
                                     const std::string& image);
    std::string getCPLDVersionString(const std::string& device);
    std::string getCPLDImageFileVersionString(const std::string& component,
                                              const std::string& image);
    CpldComponentMap getAvailableCpldCompsInfo();
    int VerifyCPLD(const std::string& image, VersionPurpose,
                   const std::string& component);
    int UpdateCPLD(const std::string& image, VersionPurpose,
                   const std::string& component);
    int onCPLDStateChange(sdbusplus::message_t& jobRemoved);
    void onCPLDUpdateSuccess();
    int onCPLDNotifiedSignal(const std::string&);
    UploadResult processUploadCpldImage(const std::string& image, int,
                                        const std::string& component);

    /** The unit of the flash launched last; empty before. */
    std::string launched;

  private:
    int verify(const char* member, const std::string& image);
    int jobOutcome(sdbusplus::message_t& jobRemoved);
    Message newStartUnit();
    /** Adds the arguments, and has systemd start what is `launched`. */
    Message start(const Message& startUnit);
    /** @param name  what stands between "obmc-flash-" and the image's path,
     *               but for the last escaped blank
     */
    static std::string unitName(const std::string& name,
                                const std::string& image);
    bool record(const char* property, const std::string& version);
    void addApplyTime(UploadResult& result);
    UploadResult uploadCapsule(const std::string& image, int kind);
    UploadResult uploadBios(const std::string& image);
    UploadResult finishBiosUpload(const char* property,
                                  const std::string& staged,
                                  const std::string& version);

    sd_bus* bus;
    Log& log;
};

} // namespace fuzz
