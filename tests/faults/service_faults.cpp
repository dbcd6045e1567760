// SPDX-License-Identifier: Apache-2.0
#include "injections.hpp"

namespace test
{

static std::string noReply(const Platform& platform, const CallSite&)
{
    return "sd_bus_call: " + platform.theBus().program().noReply();
}

/** sd-bus answers for properties by itself. */
static std::string unknownMember(const Platform&, const CallSite& site)
{
    const std::string error = "sd_bus_call: org.freedesktop.DBus.Error.";
    if (!site.property.empty())
    {
        return error + "UnknownProperty: Unknown interface " +
               site.propertyInterface + " or property " + site.property + '.';
    }
    return error + "UnknownMethod: Unknown method " + site.member +
           " or interface " + site.interface + '.';
}

std::vector<Fault> serviceFaults()
{
    return {
        {.name = "WhereTheObjectIsAbsent",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startWithoutObject(site);
             },
         .ending = &CallSite::failure,
         .failure =
             [](const Platform&, const CallSite& site) {
                 return "sd_bus_call: org.freedesktop.DBus.Error."
                        "UnknownObject: Unknown object '" +
                        site.path + "'.";
             },
         .reach = Reach::bus},
        {.name = "WhereTheInterfaceIsAbsent",
         .concerns = everySite,
         .inject = movedTo([](const CallSite& site) {
             return Method{site.path, "test.Other", site.member, healthy(site)};
         }),
         .ending = &CallSite::failure,
         .failure = unknownMember,
         .reach = Reach::bus},
        {.name = "WhereTheMethodIsAbsent",
         .concerns = everySite,
         .inject = movedTo([](const CallSite& site) {
             return Method{site.path, site.interface, "Other", healthy(site)};
         }),
         .ending = &CallSite::failure,
         .failure = unknownMember,
         .reach = Reach::bus},
        {.name = "WhereTheServiceDies",
         .concerns = everySite,
         .inject = answering(reply::hangUp()),
         .ending = &CallSite::failure,
         .failure = noReply},
        {.name = "WhereTheServiceRestartsBefore",
         .concerns = everySite,
         .inject = beforeTheCall([](Platform& platform, const CallSite& site) {
             platform.startHealthy(site);
         }),
         .ending = &CallSite::success},
        {.name = "WhereThePollIsInterrupted",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startAnswering(site,
                                         platform.interrupting(healthy(site)));
             },
         .ending = Platform::callsOutliveSignals ? &CallSite::success
                                                 : &CallSite::failure,
         .failure = callFailed("System.Error.EINTR: Interrupted system call")},
        {.name = "WithSignalsInFrontOfTheAnswer",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startAnswering(
                     site, platform.afterSignals(1000, healthy(site)));
             },
         .ending = &CallSite::success,
         .signals = 1000},
        {.name = "WhereTheAnswerNeverComes",
         .concerns = everySite,
         .inject = impatiently(
             [](Platform&, const CallSite&) { return reply::silence(); }),
         .ending = &CallSite::failure,
         .failure = callFailed(timeOut)},
        {.name = "WhereTheAnswerComesTooLate",
         .concerns = everySite,
         .inject = impatiently([](Platform& platform, const CallSite& site) {
             return platform.tooLate(healthy(site));
         }),
         .ending = &CallSite::failure,
         .failure = callFailed(timeOut)},
    };
}

} // namespace test
