// SPDX-License-Identifier: Apache-2.0
#include <wexa/core/fwmanager_internal.hpp>

#include <new>
#include <tuple>
#include <type_traits>

// What daemons are compiled against: every operation and type, exactly.
// Compiled only, and compared by its symbols.

using std::string;
using namespace wexa::core;
using Manager = FWManagerInternal;
using Type = Manager::UPLOAD_IMG_TYPE;
using Job = sdbusplus::message_t;

template <auto operation, typename Result, typename... Parameters>
constexpr bool is =
    std::is_same_v<decltype(operation), Result (Manager::*)(Parameters...)>;

using M = Manager;
static_assert(is<&M::VerifyBMC, int, string, VersionPurpose, string>);
static_assert(is<&M::UpdateBMC, int, string, VersionPurpose, string>);
static_assert(is<&M::onBMCStateChange, int, Job&>);
static_assert(is<&M::onBMCUpdateSuccess, void>);
static_assert(
    is<&M::processUploadBmcImage, UploadResult, string, Type, string>);
static_assert(is<&M::compare_boardID, bool, string>);
static_assert(is<&M::VerifyBIOS, int, string, VersionPurpose, string>);
static_assert(is<&M::VerifyCapsule, int, string, VersionPurpose, string>);
static_assert(is<&M::UpdateBIOS, int, string, VersionPurpose, string>);
static_assert(is<&M::onBIOSStateChange, int, Job&>);
static_assert(is<&M::onBIOSUpdateSuccess, void>);
static_assert(
    is<&M::processUploadBiosImage, UploadResult, string, Type, string>);
static_assert(is<&M::getCPLDImageFileInfo, PropertyMap, string, string>);
static_assert(is<&M::getCPLDVersionString, string, string>);
static_assert(is<&M::getCPLDImageFileVersionString, string, string, string>);
static_assert(is<&M::getAvailableCpldCompsInfo, CpldComponentMap>);
static_assert(is<&M::VerifyCPLD, int, string, VersionPurpose, string>);
static_assert(is<&M::UpdateCPLD, int, string, VersionPurpose, string>);
static_assert(is<&M::onCPLDStateChange, int, Job&>);
static_assert(is<&M::onCPLDUpdateSuccess, void>);
static_assert(is<&M::getCpldNotifiedRulesPattern, string>);
static_assert(is<&M::onCPLDNotifiedSignal, int, string>);
static_assert(
    is<&M::processUploadCpldImage, UploadResult, string, Type, string>);

static_assert(
    std::is_same_v<PropertyValue,
                   std::variant<std::int32_t, std::int64_t, std::uint32_t,
                                std::uint64_t, string, bool>>);
static_assert(std::is_same_v<PropertyMap, std::map<string, PropertyValue>>);
static_assert(
    std::is_same_v<CpldComponentInfo, std::tuple<string, PropertyMap>>);
static_assert(
    std::is_same_v<CpldComponentMap, std::map<string, CpldComponentInfo>>);
static_assert(std::is_same_v<UploadResult, std::map<string, string>>);

static_assert(Manager::UPLOAD_IMG_BMC == 0 && Manager::UPLOAD_IMG_BIOS == 1 &&
              Manager::UPLOAD_IMG_CPLD == 2);
static_assert(std::is_convertible_v<sdbusplus::bus_t&, Manager>);

void construct(void* where, sdbusplus::bus_t& bus)
{
    new (where) Manager(bus);
}

std::tuple everyOperation{
    &M::VerifyBMC,
    &M::UpdateBMC,
    &M::onBMCStateChange,
    &M::onBMCUpdateSuccess,
    &M::processUploadBmcImage,
    &M::compare_boardID,
    &M::VerifyBIOS,
    &M::VerifyCapsule,
    &M::UpdateBIOS,
    &M::onBIOSStateChange,
    &M::onBIOSUpdateSuccess,
    &M::processUploadBiosImage,
    &M::getCPLDImageFileInfo,
    &M::getCPLDVersionString,
    &M::getCPLDImageFileVersionString,
    &M::getAvailableCpldCompsInfo,
    &M::VerifyCPLD,
    &M::UpdateCPLD,
    &M::onCPLDStateChange,
    &M::onCPLDUpdateSuccess,
    &M::getCpldNotifiedRulesPattern,
    &M::onCPLDNotifiedSignal,
    &M::processUploadCpldImage,
};
