// SPDX-License-Identifier: Apache-2.0
#include "happenings.hpp"

namespace test
{

static std::string absence(const Platform& platform, const CallSite& site)
{
    return "sd_bus_call: " + platform.theBus().says().absence(site.service);
}

std::vector<Fault> busFaults()
{
    return {
        {.name = "WhereTheServiceIsAbsent",
         .concerns = everyone,
         .happen = beforeTheCall([](Platform& platform, const CallSite& site) {
             platform.withdraw(site.service);
         }),
         .ending = &CallSite::failure,
         .failure = absence,
         .reach = Reach::bus},
        {.name = "WhereTheBusRefusesIt",
         .concerns = everyone,
         .happen =
             [](Platform& platform, const CallSite& site) {
                 platform.startHealthy(site);
                 platform.refuseToSend(site);
             },
         .ending = &CallSite::failure,
         .failure = callFailed(refusedByTheBus),
         .reach = Reach::bus},
        {.name = "WhereTheBusDiesBefore",
         .concerns = everyone,
         .happen = beforeTheCall([](Platform& platform, const CallSite&) {
             platform.theBus().kill();
         }),
         .ending = &CallSite::failure,
         .failure = callFailed("org.freedesktop.DBus.Error.Disconnected: "
                               "Connection reset by peer"),
         .reach = Reach::notSent,
         .connectionSurvives = false},
        {.name = "WhereTheBusDiesMeanwhile",
         .concerns = everyone,
         .happen =
             [](Platform& platform, const CallSite& site) {
                 platform.startAnswering(
                     site, [&](sd_bus_message*) { platform.theBus().kill(); });
             },
         .ending = &CallSite::failure,
         .failure = callFailed("org.freedesktop.DBus.Error.Disconnected: "
                               "Connection reset by peer"),
         .connectionSurvives = false},
        {.name = "WhereTheConnectionIsClosed",
         .concerns = everyone,
         .happen = beforeTheCall([](Platform& platform, const CallSite&) {
             platform.disconnect();
         }),
         .ending = &CallSite::failure,
         .failure = callFailed("System.Error.ENOTCONN: Transport endpoint is "
                               "not connected"),
         .reach = Reach::notSent,
         .connectionSurvives = false},
        {.name = "WhereItCannotBeCreated",
         .concerns = everyone,
         .happen =
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
