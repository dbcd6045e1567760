// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/firmware_information.hpp"
#include "../support/host.hpp"
#include "../support/images.hpp"
#include "../support/library_test.hpp"
#include "../support/scripted_core_library.hpp"
#include "../support/security_manager.hpp"
#include "../support/settings.hpp"
#include "../support/signatures.hpp"

namespace test
{

/** The platform around processUploadBiosImage. */
class UploadBios : public LibraryTest
{
  protected:
    using Manager = wexa::core::FWManagerInternal;

    void hostAnswers(Reply reply)
    {
        offer(host::service, {host::get(std::move(reply))});
    }

    void securityManagerAnswers(Reply reply)
    {
        offer(security_manager::service,
              {security_manager::method("verifyBios", reply),
               security_manager::method("verifyCapsule", reply)});
    }

    void recordAnswers(Reply reply)
    {
        offer(firmware_information::service,
              {firmware_information::set(std::move(reply))});
    }

    void settingsAnswer(Reply reply)
    {
        offer(settings::service, {settings::get(std::move(reply))});
    }

    /** A platform of board 7 that accepts everything and applies on reset. */
    void everyoneAgrees()
    {
        hostAnswers(reply::shortVariant(7));
        securityManagerAnswers(reply::boolean(true));
        recordAnswers(reply::nothing());
        settingsAnswer(reply::textVariant(
            "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes."
            "OnReset"));
    }

    /** An image for board 7. */
    std::string bios(const std::string& version,
                     const std::string& date = "03/15/2024") const
    {
        return images.make("bios", {"--kind", "bios", "--version", version,
                                    "--date", date, "--board", "7", "--force"});
    }

    std::string capsule(const std::string& version, int kind = 1) const
    {
        return images.make("capsule",
                           {"--kind", "capsule", "--version", version,
                            "--capsule-kind", std::to_string(kind), "--force"});
    }

    wexa::core::UploadResult
    upload(const std::string& imagePath,
           Manager::UPLOAD_IMG_TYPE type = Manager::UPLOAD_IMG_BIOS,
           const std::string& extra = "")
    {
        return manager.processUploadBiosImage(imagePath, type, extra);
    }

    Images images;
    ScriptedCoreLibrary core;
};

} // namespace test
