// SPDX-License-Identifier: Apache-2.0
#include "board_mismatch.hpp"
#include "connection.hpp"
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <iostream>

static wexa::core::UploadResult accepted(sdbusplus::bus::bus& bus,
                                         const FirmwareKind& kind,
                                         const std::string& image, bool verbose)
{
    const LibraryLog log(verbose);
    FirmwareKind::Manager manager(bus);
    auto result = kind.upload(manager, image);
    if (!result.empty())
    {
        return result;
    }
    if (log.tellsOfAFailedCall())
    {
        throw Failure(ExitStatus::callFailed,
                      image + ": could not be examined: " + log.reason());
    }
    const auto boards =
        log.tellsOfAnotherBoard() ? " (" + boardsInWords(bus, image) + ")" : "";
    throw Failure(ExitStatus::imageRefused,
                  image + ": refused: " + log.reason() + boards);
}

void upload(const Request& request)
{
    const auto image = usableImage(request.image);
    auto bus = connectTo(request.bus);
    const auto result = accepted(bus, *request.kind, image, request.verbose);
    std::cout << image << ": accepted as " << request.kind->wordsFor(image)
              << ", version " << result.at("version") << ", recorded as staged";
    if (const auto applied = result.find("applyTime"); applied != result.end())
    {
        std::cout << ", apply time " << applied->second;
    }
    std::cout << '\n';
}
