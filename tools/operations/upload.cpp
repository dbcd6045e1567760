// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "board_identity.hpp"
#include "components.hpp"
#include "firmware_kind.hpp"
#include "image_path.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <plain.hpp>

static wexa::core::UploadResult accepted(sdbusplus::bus::bus& bus,
                                         const FirmwareKind& kind,
                                         const Target& target, bool verbose)
{
    if (kind.tellsItsBoard(target.image))
    {
        requireNoMistakeForBoard0(bus, target.image);
    }
    const LibraryLog log(verbose);
    FirmwareKind::Manager manager(bus);
    wexa::core::UploadResult result;
    try
    {
        result = kind.upload(manager, target);
    }
    catch (const std::bad_variant_access&)
    {
        throw Failure(
            ExitStatus::imageRefused, target.image + ": refused",
            Reason{"reading the version of the CPLD image",
                   log.reason().library, "",
                   "the device tells the image's version in a type that is "
                   "not 's': update the CPLD update manager"});
    }
    if (!result.empty())
    {
        return result;
    }
    const auto reason = log.reason();
    if (log.tellsOfBoards())
    {
        throw boardMismatch(bus, target.image, log);
    }
    if (log.tellsOfAFailedCall())
    {
        throw Failure(ExitStatus::callFailed,
                      target.image + ": could not be examined", reason);
    }
    throw Failure(ExitStatus::imageRefused, target.image + ": refused", reason);
}

static std::string inWords(const std::string& image, const std::string& what,
                           const wexa::core::UploadResult& result)
{
    auto text =
        image + ": accepted as " + what + ", version " + result.at("version");
    const auto exposed = result.find("exposeName");
    text += exposed == result.end() ? ", recorded as staged"
                                    : ", to be shown as " + exposed->second;
    if (const auto applied = result.find("applyTime"); applied != result.end())
    {
        text += ", apply time " + applied->second;
    }
    return plain::line(text) + '\n';
}

Result upload(const Request& request)
{
    const auto& kind = firmwareKindNamed(request.kind);
    const auto image = usableImage(request.image, kind.hasComponents());
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    const auto result =
        accepted(bus, kind, {image, request.component}, request.verbose);
    const auto what = kind.wordsFor(image);
    return {{{"image", image}, {"what", what}, {"upload", result}},
            inWords(image, what, result)};
}
