// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <cerrno>
#include <iostream>

static void requireAuthentic(sdbusplus::bus::bus& bus, const FirmwareKind& kind,
                             const std::string& image, bool verbose)
{
    const LibraryLog log(verbose);
    FirmwareKind::Manager manager(bus);
    const auto result = kind.verify(manager, image);
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

void verify(const Request& request)
{
    const auto image = usableImage(request.image);
    auto bus = connectTo(request.bus);
    requireAuthentic(bus, *request.kind, image, request.verbose);
    std::cout << image << ": authentic " << request.kind->wordsFor(image)
              << '\n';
}
