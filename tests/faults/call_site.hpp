// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/scripted_service.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

/** What the library reads of a reply. */
enum class Reads
{
    nothing,
    boolean,
    text,
    numberVariant,
    textVariant,
    registry,
    properties,
};

/** How an operation ends after one of its remote calls was answered. */
struct Ending
{
    /** What it returns, as text; or its exception's type and text. */
    std::string result{};

    /** What happens from the answer on. "{}" stands for the failure's text. */
    std::vector<std::string> events{};

    /** Further calls that it sends. */
    std::vector<std::string> sent{};
};

/** A place in the library where a remote call is made, in an operation that
 *  makes it; the rest of the platform is healthy.
 */
struct CallSite
{
    std::string name;
    Reads reads{};
    std::string service{};
    std::string path{};
    std::string interface{};
    std::string member{};

    /** Appends a healthy reply. */
    std::function<void(sd_bus_message*)> reply{};

    std::function<std::string(wexa::core::FWManagerInternal&)> operation{};

    /** What happens before the call is created, and from then until it is
     *  sent.
     */
    std::vector<std::string> before{};
    std::vector<std::string> announcement{};

    /** The calls sent before, and this one. */
    std::vector<std::string> sentBefore{};
    std::string call{};

    Ending success{};

    /** Ends like this where the answer is a no: false, none, empty. */
    Ending refusal{};

    Ending failure{};

    /** The property that the call is about, and its interface. */
    std::string property{};
    std::string propertyInterface{};

    /** The unit that is remembered once the call was created. */
    std::string remembered{};
};

/** The healthy reply to a site's call. */
inline Reply healthy(const CallSite& site)
{
    return reply::built(site.reply);
}

/** All of them: the security manager's verifications, the starts of flashes,
 *  what uploads of BMC and BIOS images ask for, the CPLD update manager's.
 */
const std::vector<CallSite>& callSites();
std::vector<CallSite> verificationSites();
std::vector<CallSite> startSites();
std::vector<CallSite> uploadSites();
std::vector<CallSite> cpldSites();

/** One of them; it must be there. */
const CallSite& siteNamed(std::string_view name);

/** The device of the one CPLD that is bound, MB. */
constexpr auto cpldDevice = "/xyz/openbmc_project/cpld_update_mgr/mb";

} // namespace test
