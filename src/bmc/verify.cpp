// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "../common/verification.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <cerrno>

namespace wexa::core
{

int FWManagerInternal::VerifyBMC(std::string imagePath, VersionPurpose purpose,
                                 std::string)
{
    log::progress("int wexa::core::FWManagerInternal::VerifyBMC(std::string, "
                  "wexa::core::VersionPurpose, std::string)\n");

    if (purpose != VersionPurpose::BMC)
    {
        log::progress("Unsupport image type: {} !!\n",
                      convertForMessage(purpose));
        return -EINVAL;
    }

    return verifyBySecurityManager(bus, "verifyBmc", imagePath);
}

} // namespace wexa::core
