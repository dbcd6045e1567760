// SPDX-License-Identifier: Apache-2.0
#include "components.hpp"
#include "connection.hpp"
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <cerrno>
#include <iostream>

static void requireAuthentic(sdbusplus::bus::bus& bus, const FirmwareKind& kind,
                             const Target& target, bool verbose)
{
    const LibraryLog log(verbose);
    FirmwareKind::Manager manager(bus);
    const auto result = kind.verify(manager, target);
    if (result == -EIO)
    {
        throw Failure(ExitStatus::callFailed,
                      target.image +
                          ": could not be verified: " + log.reason());
    }
    if (result != 0)
    {
        throw Failure(ExitStatus::imageRefused,
                      target.image + ": not authentic: " + log.reason());
    }
}

void verify(const Request& request)
{
    const auto image =
        usableImage(request.image, request.kind->hasComponents());
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    requireAuthentic(bus, *request.kind, {image, request.component},
                     request.verbose);
    std::cout << image << ": authentic " << request.kind->wordsFor(image)
              << '\n';
}
