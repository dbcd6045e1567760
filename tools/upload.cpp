// SPDX-License-Identifier: Apache-2.0
#include "board_mismatch.hpp"
#include "components.hpp"
#include "connection.hpp"
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <iostream>

static wexa::core::UploadResult accepted(sdbusplus::bus::bus& bus,
                                         const FirmwareKind& kind,
                                         const Target& target, bool verbose)
{
    const LibraryLog log(verbose);
    FirmwareKind::Manager manager(bus);
    wexa::core::UploadResult result;
    try
    {
        result = kind.upload(manager, target);
    }
    catch (const std::bad_variant_access&)
    {
        throw Failure(ExitStatus::imageRefused,
                      target.image + ": refused: the device tells the image's "
                                     "version in a type that is not 's'");
    }
    if (!result.empty())
    {
        return result;
    }
    if (log.tellsOfAFailedCall())
    {
        throw Failure(ExitStatus::callFailed,
                      target.image +
                          ": could not be examined: " + log.reason());
    }
    const auto boards = log.tellsOfAnotherBoard()
                            ? " (" + boardsInWords(bus, target.image) + ")"
                            : "";
    throw Failure(ExitStatus::imageRefused,
                  target.image + ": refused: " + log.reason() + boards);
}

void upload(const Request& request)
{
    const auto image =
        usableImage(request.image, request.kind->hasComponents());
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    const auto result = accepted(bus, *request.kind, {image, request.component},
                                 request.verbose);
    std::cout << image << ": accepted as " << request.kind->wordsFor(image)
              << ", version " << result.at("version");
    if (const auto exposed = result.find("exposeName"); exposed != result.end())
    {
        std::cout << ", to be shown as " << exposed->second;
    }
    else
    {
        std::cout << ", recorded as staged";
    }
    if (const auto applied = result.find("applyTime"); applied != result.end())
    {
        std::cout << ", apply time " << applied->second;
    }
    std::cout << '\n';
}
