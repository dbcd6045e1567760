// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/verbs.hpp"
#include "components.hpp"
#include "image_path.hpp"
#include "library.hpp"
#include "library_log.hpp"
#include "verification.hpp"

#include <plain.hpp>

#include <cerrno>

void requireAuthentic(sdbusplus::bus_t& bus, const FirmwareKind& kind,
                      const Target& target, bool verbose)
{
    const LibraryLog log(verbose);
    auto manager = library().bind(bus);
    const auto result =
        (manager.*kind.verify)(target.image, kind.purpose, target.component);
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
    const auto image = usableImage(request.image, request.kind);
    const auto& kind = firmwareKindOf(request.kind, image);
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    requireAuthentic(bus, kind, {image, request.component}, request.verbose);
    warnOfUpdate(request, image);
    return {{{"image", image}, {"what", kind.words}},
            plain::line(image + ": authentic " + kind.words) + '\n'};
}
