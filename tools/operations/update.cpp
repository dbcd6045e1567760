// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/dbus_error.hpp"
#include "../common/failure.hpp"
#include "../common/patience.hpp"
#include "../common/unit_name.hpp"
#include "../common/verbs.hpp"
#include "board_identity.hpp"
#include "components.hpp"
#include "device_lock.hpp"
#include "flash.hpp"
#include "image_guard.hpp"
#include "image_path.hpp"
#include "iso_time.hpp"
#include "library.hpp"
#include "verification.hpp"

#include <plain.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iomanip>
#include <sstream>

using std::chrono::steady_clock;

namespace
{

/** Makes sure that the flash unit will be given this very image.
 *
 *  @param found  shown all the same where it will not
 */
void requireFaithful(const Request& request, const std::string& image,
                     const Result& found)
{
    if (const auto obstacle =
            obstacleOfUpdate(request.kind, request.component, image))
    {
        throw Failure(ExitStatus::wrongUsage, obstacle->what, obstacle->hint,
                      found);
    }
}

/** What would be started. */
Result plan(const Target& target, const std::string& unit, bool verify)
{
    const auto instance = unescapedInstance(unit);
    const auto comesBack = instance.ends_with(" " + target.image);
    const std::vector<plain::Row> rows{
        {"unit", unit},
        {"length", std::to_string(unit.size()) + " of " +
                       std::to_string(longestUnitName) + " characters"},
        {"systemd",
         isUnitName(unit) ? "can carry this name" : "cannot carry this name"},
        {"instance", instance},
        {"path", comesBack ? "comes back to the unit as it is"
                           : "does not come back to the unit as it is"},
        {"image", verify ? "is verified before it is flashed"
                         : "is flashed without verification"}};
    return {{{"image", target.image},
             {"unit", unit},
             {"unit_length", unit.size()},
             {"longest_unit_name", longestUnitName},
             {"systemd_can_carry_it", isUnitName(unit)},
             {"instance", instance},
             {"path_comes_back", comesBack},
             {"verifies", verify},
             {"started", false}},
            plain::table(rows) + "nothing was started\n"};
}

void requireVerified(sdbusplus::bus_t& bus, const FirmwareKind& kind,
                     const Target& target, bool verbose)
{
    if (kind.tellsItsBoard)
    {
        auto manager = library().bind(bus);
        requireThisBoard(bus, manager, target.image, verbose);
    }
    requireAuthentic(bus, kind, target, verbose);
}

/** The bus's own name of itself. */
std::string idOf(sdbusplus::bus_t& bus)
{
    auto call =
        bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetId");
    std::string id;
    bus.call(call, patience).read(id);
    if (id.size() != 32 || !std::ranges::all_of(id, [](unsigned char digit) {
            return std::isxdigit(digit) != 0;
        }))
    {
        throw Failure(ExitStatus::callFailed,
                      "the bus tells an identifier that is not of 32 "
                      "hexadecimal digits",
                      "name the address of a D-Bus message bus with --bus");
    }
    return id;
}

/** What proves how the flash ended. */
void addProof(nlohmann::json& data, const UnitState& state)
{
    using std::chrono::duration_cast, std::chrono::seconds;
    data["invocation"] = state.invocation;
    data["unit_result"] = state.result;
    data["exit_status"] = state.exitStatus;
    data["begin"] = isoTime(duration_cast<seconds>(state.began));
    data["end"] = isoTime(duration_cast<seconds>(state.ended));
}

std::string flashedText(const std::string& image,
                        std::chrono::duration<double> took, bool verified,
                        bool removed)
{
    std::ostringstream text;
    text << image << ": flashed in " << std::fixed << std::setprecision(1)
         << took.count() << " s" << (verified ? "" : ", without verification")
         << (removed ? "; the image was removed meanwhile" : "") << '\n';
    return text.str();
}

/** @param data  gains what is known of the flash, also where it failed */
Result run(Flash& flash, ImageGuard& image, const Target& target,
           nlohmann::json& data, const Request& request)
{
    const auto start = steady_clock::now();
    data["started"] = nullptr;
    flash.start();
    data["started"] = true;
    if (!request.wait)
    {
        return {data, target.image + ": the flash is started, as " +
                          data["unit"].get<std::string>() + '\n'};
    }
    addProof(data, flash.awaitEnd());
    flash.requireDone();
    image.requireUnchangedByNow();

    const std::chrono::duration<double> took = steady_clock::now() - start;
    data["seconds"] = took.count();
    const auto removed = isRemoved(target.image);
    data["image_removed"] = removed;
    return {data, flashedText(target.image, took, request.verify, removed)};
}

/** @param data  gains what is known, also where it fails */
Result verifyAndRun(const Target& target, const Request& request,
                    nlohmann::json& data)
{
    requireFaithful(request, target.image, {});
    ImageGuard image(target.image);
    const auto& kind = firmwareKindOf(request.kind, target.image);
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);
    if (request.verify)
    {
        requireVerified(bus, kind, target, request.verbose);
        data["verified"] = true;
    }

    const auto device =
        request.kind + (target.component.empty() ? "" : "-") + target.component;
    const DeviceLock lock(request.bus, idOf(bus), device, target.image);
    Flash flash(bus, kind, target, data["unit"], request);
    flash.requireIdleDevice();
    image.requireUnchanged();
    return run(flash, image, target, data, request);
}

/** What is verified and what is flashed must not differ by a link. */
std::string withoutLinks(const std::string& image)
{
    std::error_code error;
    const auto path = std::filesystem::canonical(image, error).string();
    if (error)
    {
        throw Failure(ExitStatus::wrongUsage, image + ": " + error.message(),
                      "name an image file that can be read");
    }
    return path;
}

} // namespace

Result update(const Request& request)
{
    const auto image = withoutLinks(usableImage(request.image, request.kind));
    const Target target{image, request.component};
    const auto unit = flashUnitName(request.kind, request.component, image);
    if (request.dryRun)
    {
        auto planned = plan(target, unit, request.verify);
        requireFaithful(request, image, planned);
        return planned;
    }
    nlohmann::json data{{"image", image},
                        {"unit", unit},
                        {"verified", false},
                        {"started", false}};
    try
    {
        return verifyAndRun(target, request, data);
    }
    catch (Failure& failure)
    {
        if (failure.status == ExitStatus::callFailed)
        {
            data["started"] = false;
        }
        failure.found.data = data;
        throw;
    }
    catch (const sdbusplus::exception_t& error)
    {
        data["started"] = false;
        throw Failure(
            ExitStatus::callFailed, image + ": the flash was not started",
            Reason{"", {}, error.name(), hintFor(error.name())}, {data, ""});
    }
}
