// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/told_value.hpp"
#include "../common/verbs.hpp"
#include "apply_time.hpp"
#include "board_identity.hpp"
#include "components.hpp"
#include "image_path.hpp"
#include "library.hpp"
#include "library_log.hpp"

#include <plain.hpp>

#include <array>
#include <sstream>

namespace
{

/** What an upload found. */
struct Accepted
{
    wexa::core::UploadResult result;
    /** Why the library told no apply time; empty where it did. */
    std::string noApplyTime;
};

/** Of a version that is not a string. */
std::string inWords(const wexa::core::PropertyValue& version)
{
    // What the library does not read is 0 of the first type.
    if (version == wexa::core::PropertyValue())
    {
        return "that is not a string, as it is expected to be";
    }
    constexpr std::array types{"i", "x", "u", "t", "s", "b"};
    std::ostringstream text;
    std::visit([&](const auto& content) { text << content; }, version);
    return anotherTypeInWords({types.at(version.index()), text.str()}, "s");
}

/** The library gives up at once where a version is not a string. */
Failure versionOfAnotherType(FirmwareKind::Manager& manager,
                             const Target& target)
{
    const auto value =
        (manager.*library().imageFileInfo)(target.component, target.image)
            .at("versionString");
    return {ExitStatus::callFailed,
            target.image + ": its version could not be read",
            Reason{"reading the version of the CPLD image",
                   {},
                   "",
                   "the device of " + target.component +
                       " tells a versionString " + inWords(value) +
                       ": update the CPLD update manager"}};
}

Failure notAccepted(sdbusplus::bus_t& bus, const std::string& image,
                    const LibraryLog& log)
{
    if (log.tellsOfBoards())
    {
        return boardMismatch(bus, image, log);
    }
    if (log.tellsOfAnUnrecordedVersion())
    {
        return {ExitStatus::callFailed,
                image + ": is authentic, but its version could not be "
                        "recorded as staged",
                log.reason()};
    }
    if (log.tellsOfAFailedCall())
    {
        return {ExitStatus::callFailed, image + ": could not be examined",
                log.reason()};
    }
    return {ExitStatus::imageRefused, image + ": refused", log.reason()};
}

Accepted accepted(sdbusplus::bus_t& bus, const FirmwareKind& kind,
                  const Target& target, bool verbose)
{
    if (kind.tellsItsBoard)
    {
        requireNoMistakeForBoard0(bus, target.image);
    }
    const LibraryLog log(verbose);
    auto manager = library().bind(bus);
    Accepted accepted;
    try
    {
        accepted.result =
            (manager.*kind.upload)(target.image, kind.type, target.component);
    }
    catch (const std::bad_variant_access&)
    {
        throw versionOfAnotherType(manager, target);
    }
    if (accepted.result.empty())
    {
        throw notAccepted(bus, target.image, log);
    }
    if (kind.hasApplyTime && !accepted.result.contains("applyTime"))
    {
        accepted.noApplyTime = whyNoApplyTime(bus, log);
    }
    return accepted;
}

std::string inWords(const std::string& image, const std::string& what,
                    const Accepted& accepted)
{
    const auto& result = accepted.result;
    auto text =
        image + ": accepted as " + what + ", version " + result.at("version");
    const auto exposed = result.find("exposeName");
    text += exposed == result.end() ? ", recorded as staged"
                                    : ", to be shown as " + exposed->second;
    if (const auto applied = result.find("applyTime"); applied != result.end())
    {
        text += ", apply time " + applied->second;
    }
    if (!accepted.noApplyTime.empty())
    {
        text += ", apply time unknown: " + accepted.noApplyTime;
    }
    return plain::line(text) + '\n';
}

} // namespace

Result upload(const Request& request)
{
    const auto image = usableImage(request.image, request.kind);
    requireSignedImage(image);
    const auto& kind = firmwareKindOf(request.kind, image);
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    const auto found =
        accepted(bus, kind, {image, request.component}, request.verbose);
    warnOfUpdate(request, image);
    return {{{"image", image},
             {"what", kind.words},
             {"upload", found.result},
             {"apply_time_unknown", found.noApplyTime.empty()
                                        ? nlohmann::json()
                                        : nlohmann::json(found.noApplyTime)}},
            inWords(image, kind.words, found)};
}
