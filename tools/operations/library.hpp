// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "firmware_kind.hpp"

#include <string>
#include <vector>

/** How the library is called.
 *
 *  What calls it lives in a module that is loaded when a verb needs it, so that
 *  the tool can say what is missing where the library, or something that it is
 *  linked with, is not there. All else is in the tool, where it is once.
 */
struct Library
{
    using Manager = FirmwareKind::Manager;

    /** All that there are. */
    std::vector<const FirmwareKind*> kinds;
    Manager (*bind)(sdbusplus::bus_t& bus);
    decltype(&Manager::compare_boardID) compareBoardId;
    decltype(&Manager::getCPLDImageFileInfo) imageFileInfo;
    decltype(&Manager::getAvailableCpldCompsInfo) components;
    decltype(&Manager::getCpldNotifiedRulesPattern) notificationRule;
    /** The board identifier of a BIOS image; outside 0 to 65535 where there is
     *  none.
     */
    int (*boardOf)(std::string image);
};

/** The name of the module's file, and of its one symbol. */
constexpr auto libraryModule = "wexa-fwmgr-operations.so";
constexpr auto librarySymbol = "wexaFwmgrLibrary";

extern "C" const Library* wexaFwmgrLibrary();

/** Loads the module, the first time.
 *
 *  @throw Failure  the library, or what it is linked with, is missing
 */
const Library& library();

/** @param name  of one that there is */
const FirmwareKind& firmwareKindNamed(const std::string& name);
