// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fault.hpp"
#include "site_words.hpp"

#include <algorithm>
#include <initializer_list>

/** Words in which faults are told. */
namespace test
{

constexpr auto timeOut =
    "org.freedesktop.DBus.Error.Timeout: Connection timed out";

using Concerns = std::function<bool(const CallSite&)>;
using Failure = std::function<std::string(const Platform&, const CallSite&)>;

inline bool everySite(const CallSite&)
{
    return true;
}

inline Concerns sitesReading(std::initializer_list<Reads> kinds)
{
    return [kinds = std::vector<Reads>(kinds)](const CallSite& site) {
        return std::ranges::find(kinds, site.reads) != kinds.end();
    };
}

inline Failure text(std::string failure)
{
    return [failure](const Platform&, const CallSite&) { return failure; };
}

inline Failure callFailed(const std::string& error)
{
    return text("sd_bus_call: " + error);
}

using Answer = std::function<Reply(const CallSite&)>;
using Injection = std::function<void(Platform&, const CallSite&)>;

inline Injection answering(Answer answer)
{
    return [answer](Platform& platform, const CallSite& site) {
        platform.startAnswering(site, answer(site));
    };
}

inline Injection answering(Reply reply)
{
    return answering(Answer{[reply](const CallSite&) { return reply; }});
}

/** Answers with values of basic types. */
template <typename... Values>
Injection answeringWith(const char* types, Values... values)
{
    return answering(reply::built(test::values(types, values...)));
}

/** The method is somewhere else. */
inline Injection movedTo(std::function<Method(const CallSite&)> method)
{
    return [method](Platform& platform, const CallSite& site) {
        platform.start(site, method(site));
    };
}

/** The platform is healthy until right before the call. */
inline Injection beforeTheCall(Injection action)
{
    return [action](Platform& platform, const CallSite& site) {
        platform.startHealthy(site);
        platform.beforeCall(site, [=, &platform] { action(platform, site); });
    };
}

inline Injection
impatiently(std::function<Reply(Platform&, const CallSite&)> reply)
{
    return [reply](Platform& platform, const CallSite& site) {
        platform.startAnswering(site, reply(platform, site));
        platform.shortenTimeout(site);
    };
}

} // namespace test
