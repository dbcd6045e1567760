// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"
#include "failure.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <cerrno>
#include <iostream>

using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

static void verify(sdbusplus::bus::bus& bus, const std::string& image,
                   bool verbose)
{
    const LibraryLog log(verbose);
    const auto result =
        FWManagerInternal(bus).VerifyBMC(image, VersionPurpose::BMC, "");
    if (result == -EIO)
    {
        throw Failure(ExitStatus::callFailed,
                      image + ": could not be verified: " + log.reason());
    }
    if (result != 0)
    {
        throw Failure(ExitStatus::imageRefused,
                      image + ": not authentic: " + log.reason());
    }
}

void verifyBmc(const Request& request)
{
    const auto image = usableImage(request.image);
    auto bus = connectTo(request.bus);
    verify(bus, image, request.verbose);
    std::cout << image << ": authentic\n";
}
