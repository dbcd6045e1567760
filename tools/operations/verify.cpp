// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "components.hpp"
#include "image_path.hpp"
#include "library.hpp"
#include "library_log.hpp"
#include "verbs.hpp"
#include "verification.hpp"

#include <plain.hpp>

#include <cerrno>

void requireAuthentic(sdbusplus::bus_t& bus, const FirmwareKind& kind,
                      const Target& target, bool verbose)
{
    const LibraryLog log(verbose);
    auto manager = library().bind(bus);
    const auto result = kind.verify(manager, target);
    if (result == -EIO)
    {
        throw Failure(ExitStatus::callFailed,
                      target.image + ": could not be verified", log.reason());
    }
    if (result != 0)
    {
        throw Failure(ExitStatus::imageRefused,
                      target.image + ": not authentic", log.reason());
    }
}

Result verify(const Request& request)
{
    const auto& kind = firmwareKindNamed(request.kind);
    const auto image = usableImage(request.image, kind.hasComponents());
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    requireAuthentic(bus, kind, {image, request.component}, request.verbose);
    warnOfUpdate(request, image);
    const auto words = kind.wordsFor(image);
    return {{{"image", image}, {"what", words}},
            plain::line(image + ": authentic " + words) + '\n'};
}
