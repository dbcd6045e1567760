// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "../common/verification.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::VerifyBIOS(std::string imagePath, VersionPurpose,
                                  std::string)
{
    log::progress("int wexa::core::FWManagerInternal::VerifyBIOS(std::string, "
                  "wexa::core::VersionPurpose, std::string)\n");
    return verifyBySecurityManager(bus, "verifyBios", imagePath);
}

int FWManagerInternal::VerifyCapsule(std::string imagePath, VersionPurpose,
                                     std::string)
{
    log::progress(
        "int wexa::core::FWManagerInternal::VerifyCapsule(std::string, "
        "wexa::core::VersionPurpose, std::string)\n");
    return verifyBySecurityManager(bus, "verifyCapsule", imagePath);
}

} // namespace wexa::core
