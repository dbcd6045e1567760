// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <string>
#include <vector>

/** What an operation works on. */
struct Target
{
    std::string image;
    /** Of a CPLD image; else empty. */
    std::string component;
};

/** How the library's operations are called for one sort of image. */
struct FirmwareKind
{
    using Manager = wexa::core::FWManagerInternal;

    /** The kind of firmware. */
    std::string name;
    /** What a file of this sort is, in words. */
    std::string words;
    /** Whether an image is of this sort; null for the sort of all others. */
    bool (*includes)(std::string image);
    /** Whether an upload tells when the image is to be applied. */
    bool hasApplyTime;
    /** Whether the image is for one board, and tells which. */
    bool tellsItsBoard;
    Manager::UPLOAD_IMG_TYPE type;
    wexa::core::VersionPurpose purpose;
    decltype(&Manager::processUploadBmcImage) upload;
    decltype(&Manager::VerifyBMC) verify;
    decltype(&Manager::UpdateBMC) update;
    decltype(&Manager::onBMCStateChange) stateChanged;
    decltype(&Manager::onBMCUpdateSuccess) succeeded;
};

/** How the library is called.
 *
 *  A module calls the library. The tool loads it when a verb needs it, so that
 *  it can say what is missing if the library, or another one that this needs,
 *  is not installed. All other code is in the tool.
 */
struct Library
{
    using Manager = FirmwareKind::Manager;

    /** All sorts. The first sort of a kind that includes an image counts. */
    std::vector<FirmwareKind> kinds;
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

/** What an image is.
 *
 *  @param kind  of firmware: bmc, bios or cpld
 */
const FirmwareKind& firmwareKindOf(const std::string& kind,
                                   const std::string& image);
