// SPDX-License-Identifier: Apache-2.0
#include "injections.hpp"

namespace test
{

static std::string serviceUnknown(const Platform& platform,
                                  const CallSite& site)
{
    return "sd_bus_call: " +
           platform.theBus().program().serviceUnknown(site.service);
}

std::vector<Fault> busFaults()
{
    return {
        {.name = "WhereTheServiceIsAbsent",
         .concerns = everySite,
         .inject = beforeTheCall([](Platform& platform, const CallSite& site) {
             platform.withdraw(site.service);
         }),
         .ending = &CallSite::failure,
         .failure = serviceUnknown,
         .reach = Reach::bus},
        {.name = "WhereTheBusRefusesIt",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startHealthy(site);
                 platform.refuseToSend(site);
             },
         .ending = &CallSite::failure,
         .failure = callFailed(refusedByTheBus),
         .reach = Reach::bus},
        {.name = "WhereTheBusDiesBefore",
         .concerns = everySite,
         .inject = beforeTheCall([](Platform& platform, const CallSite&) {
             platform.theBus().kill();
         }),
         .ending = &CallSite::failure,
         .failure = callFailed("org.freedesktop.DBus.Error.Disconnected: "
                               "Connection reset by peer"),
         .reach = Reach::notSent,
         .connectionSurvives = false},
        {.name = "WhereTheBusDiesMeanwhile",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startAnswering(
                     site, [&](sd_bus_message*) { platform.theBus().kill(); });
             },
         .ending = &CallSite::failure,
         .failure = callFailed("org.freedesktop.DBus.Error.Disconnected: "
                               "Connection reset by peer"),
         .connectionSurvives = false},
        {.name = "WhereTheConnectionIsClosed",
         .concerns = everySite,
         .inject = beforeTheCall([](Platform& platform, const CallSite&) {
             platform.disconnect();
         }),
         .ending = &CallSite::failure,
         .failure = callFailed("System.Error.ENOTCONN: Transport endpoint is "
                               "not connected"),
         .reach = Reach::notSent,
         .connectionSurvives = false},
        {.name = "WhereItCannotBeCreated",
         .concerns = everySite,
         .inject =
             [](Platform& platform, const CallSite& site) {
                 platform.startHealthy(site);
                 platform.refuseToCreate(site);
             },
         .ending = &CallSite::failure,
         .failure = text(creationFailure),
         .reach = Reach::notCreated},
    };
}

} // namespace test
