// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"
#include "failure.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <iostream>

using wexa::core::FWManagerInternal;

static wexa::core::UploadResult upload(sdbusplus::bus::bus& bus,
                                       const std::string& image, bool verbose)
{
    const LibraryLog log(verbose);
    auto result = FWManagerInternal(bus).processUploadBmcImage(
        image, FWManagerInternal::UPLOAD_IMG_BMC, "");
    if (!result.empty())
    {
        return result;
    }
    if (log.tellsOfAFailedCall())
    {
        throw Failure(ExitStatus::callFailed,
                      image + ": could not be examined: " + log.reason());
    }
    throw Failure(ExitStatus::imageRefused,
                  image + ": refused: " + log.reason());
}

void uploadBmc(const Request& request)
{
    const auto image = usableImage(request.image);
    auto bus = connectTo(request.bus);
    const auto result = upload(bus, image, request.verbose);
    std::cout << image << ": accepted, version " << result.at("version")
              << ", recorded as staged\n";
}
