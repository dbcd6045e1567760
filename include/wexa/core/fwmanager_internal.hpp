// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>
#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <variant>

/** The class below is all that the library exports. */
#define WEXA_FWMGR_EXPORT __attribute__((visibility("default")))

namespace wexa::core
{

/** The security manager, which judges BMC and BIOS images.
 *
 *  Not `inline`: every source file that includes this header has a copy of
 *  its own, alive from loading until unloading.
 */
const std::string securityMgrService = "xyz.openbmc_project.SecurityManager";
const std::string securityMgrPath = "/xyz/openbmc_project/security";
const std::string securityMgrInterface =
    "xyz.openbmc_project.security.SecurityManager";

/** What a firmware image is for, as in the BMC's software objects.
 *
 *  Its mangled name depends on the release of phosphor-dbus-interfaces: build
 *  a daemon with the release that the library was built with.
 */
#if __has_include(<xyz/openbmc_project/Software/Version/common.hpp>)
// Since April 2023.
using VersionPurpose =
    sdbusplus::server::xyz::openbmc_project::software::Version::VersionPurpose;
#else
using VersionPurpose =
    sdbusplus::xyz::openbmc_project::Software::server::Version::VersionPurpose;
#endif

/** What an upload operation learned about an image.
 *
 *  Empty if the image was refused; only the log says why. Otherwise it holds
 *  at least "version" and "extendedVersion".
 */
using UploadResult = std::map<std::string, std::string>;

/** A property of a CPLD device or image.
 *
 *  The order of the alternatives is part of the interface. A value of any
 *  other D-Bus type becomes alternative 0 with the value 0.
 */
using PropertyValue = std::variant<std::int32_t, std::int64_t, std::uint32_t,
                                   std::uint64_t, std::string, bool>;

/** Properties by name: the D-Bus dictionary `a{sv}`. */
using PropertyMap = std::map<std::string, PropertyValue>;

/** One CPLD component: its running version (may be empty), its properties. */
using CpldComponentInfo = std::tuple<std::string, PropertyMap>;

/** The CPLD components that can be updated, by component name. */
using CpldComponentMap = std::map<std::string, CpldComponentInfo>;

/** The device-specific part of firmware updates on a BMC.
 *
 *  A firmware-manager daemon constructs one object over its own D-Bus
 *  connection. It calls the object when an image was uploaded, when a flash is
 *  to start, and when systemd signals that a job ended.
 *
 *  Every operation runs on the caller's thread, makes blocking D-Bus calls
 *  through the caller's connection and returns. Each call lasts at most the
 *  connection's method call timeout, 25 s by default. There is no thread,
 *  timer, subscription or retry inside. The operations of one object share
 *  the connection and the name of the last launched flash unit: call them
 *  from one thread at a time. They may be called in any order and any number
 *  of times.
 *
 *  The object does not check who sent the messages that it is given. Any local
 *  user may send a signal to one connection, where it passes every match. The
 *  daemon must first compare the sender's unique name with the owner of
 *  org.freedesktop.systemd1.
 *
 *  Integer results, except where an operation says otherwise:
 *  |     |                                                           |
 *  |-----|-----------------------------------------------------------|
 *  |   0 | success                                                   |
 *  |  -1 | the remote side answered no                               |
 *  |  -2 | the CPLD component is not among the bound devices         |
 *  |  -5 | a D-Bus call failed, or its reply had another type. After |
 *  |     | a time-out the service may still do what it was asked     |
 *  | -22 | an argument that the operation does not accept            |
 *
 *  Failures. If a call fails or its reply cannot be read, the operation logs
 *  that on standard error and returns a failure result. If a method call
 *  cannot be created (the connection was never started, or sd-bus refuses a
 *  name), the operation throws `sdbusplus::exception::SdBusError`,
 *  "sd_bus_message_new_method_call: ..."; only `getAvailableCpldCompsInfo`
 *  catches that, for the calls to devices.
 *
 *  Log. Progress goes to `std::cout`, errors to `std::cerr`, a line each.
 *  Keep both streams: a progress line can say why an image was not verified.
 *  The texts are part of the interface.
 *
 *  Do not pass a path that is not UTF-8: the bus closes a connection that sends
 *  such a text. Two cases do less harm: a launch sends the mode alone, which
 *  systemd refuses; a version is not sent, and the upload is refused.
 */
class WEXA_FWMGR_EXPORT FWManagerInternal
{
  public:
    /** What the daemon believes an uploaded file to be.
     *
     *  The upload operations ignore it: the content of the file decides. The
     *  underlying type is fixed so that a daemon may pass values of its own.
     */
    enum UPLOAD_IMG_TYPE : int
    {
        UPLOAD_IMG_BMC,
        UPLOAD_IMG_BIOS,
        UPLOAD_IMG_CPLD,
    };

    /** Binds the daemon's connection; no D-Bus traffic, no log, no failure.
     *
     *  @param bus  stays the caller's, and must outlive the object.
     */
    FWManagerInternal(sdbusplus::bus_t& bus);

    /** @name BMC firmware
     *  @{
     */

    /** Has the security manager ("verifyBmc") judge a BMC image.
     *
     *  @param imagePath  handed on unchanged
     *  @param purpose    must be `VersionPurpose::BMC`
     *  @return 0 authentic; -1 not; -5 the call failed; -22 another purpose:
     *          no call was made
     *  @throw std::invalid_argument  `purpose` is no enumerator at all
     */
    int VerifyBMC(std::string imagePath, VersionPurpose purpose, std::string);

    /** Has systemd start the flash unit of a BMC image.
     *
     *  The unit is obmc-flash-bmc-rot2@INSTANCE.service, the instance
     *  `bmc_rot2\x20update\x20` and the path with each "/" turned into "-".
     *  No other character is escaped, so a "-" in the path reaches the flash
     *  unit as "/". The image is not verified.
     *
     *  @return 0 systemd accepted the job, whose end `onBMCStateChange` will
     *          recognise; -5 the call failed. After a time-out or a lost
     *          connection the flash may start all the same: ask systemd about
     *          the unit before you launch again.
     */
    int UpdateBMC(std::string imagePath, VersionPurpose, std::string);

    /** Tells whether a finished systemd job is the flash launched last.
     *
     *  The three `on*StateChange` operations do the same: each knows the flash
     *  that was launched last, of any kind.
     *
     *  @param msg  a JobRemoved signal of systemd's manager (`uoss`) that was
     *              not read before. The operation reads it and does not
     *              rewind it: a second operation throws.
     *  @return 0 another job; 1 the flash, with systemd's result "done"; 2 the
     *          flash, with any other result. Take the first outcome that is
     *          not 0: a stopped flash yields a second JobRemoved, "done", of
     *          the stop job.
     *  @throw sdbusplus::exception::SdBusError  the body is not `uoss`, or
     *         was read before
     */
    int onBMCStateChange(sdbusplus::message_t& msg);

    /** Logs that the daemon took the BMC update for a success. */
    void onBMCUpdateSuccess();

    /** Reads the version of an uploaded BMC image, has the image verified and
     *  records the version as staged.
     *
     *  @return "version" as the image holds it, and an empty
     *          "extendedVersion". Empty if the version cannot be read, the
     *          image is not verified, or the version could not be recorded as
     *          "stagingBMC"
     */
    UploadResult processUploadBmcImage(std::string imagePath, UPLOAD_IMG_TYPE,
                                       std::string);

    /** @}
     *  @name Host BIOS firmware: images and capsules
     *  @{
     */

    /** Tells whether a BIOS image was built for this board.
     *
     *  @return false also if the host service could not be asked
     */
    bool compare_boardID(std::string imagePath);

    /** Has the security manager ("verifyBios") judge a BIOS image.
     *
     *  The purpose is ignored; pass `VersionPurpose::Host`.
     *
     *  @return 0 authentic; -1 not; -5 the call failed
     */
    int VerifyBIOS(std::string imagePath, VersionPurpose, std::string);

    /** As `VerifyBIOS`, for a capsule ("verifyCapsule"). */
    int VerifyCapsule(std::string imagePath, VersionPurpose, std::string);

    /** As `UpdateBMC`, with the unit obmc-flash-host-bios@INSTANCE.service
     *  and the instance word `bios_rot2`.
     */
    int UpdateBIOS(std::string imagePath, VersionPurpose, std::string);

    /** See `onBMCStateChange`. */
    int onBIOSStateChange(sdbusplus::message_t& msg);

    /** Logs that the daemon took the BIOS update for a success. */
    void onBIOSUpdateSuccess();

    /** As `processUploadBmcImage`, for a BIOS image or a capsule.
     *
     *  @return "version", "extendedVersion" (empty) and, if the settings
     *          service tells it, "applyTime"; or empty
     */
    UploadResult processUploadBiosImage(std::string imagePath, UPLOAD_IMG_TYPE,
                                        std::string);

    /** @}
     *  @name CPLD firmware
     *  @{
     */

    /** What the component's device can read from an image file.
     *
     *  @param imagePath  a file, or a directory; the device then gets the
     *         first entry whose path holds "image_cpld_signed"
     *  @return empty if the path is missing or a call failed
     *  @throw sdbusplus::exception::SdBusError  the component is not bound
     *  @throw std::filesystem::filesystem_error  the path cannot be examined
     */
    PropertyMap getCPLDImageFileInfo(std::string componentName,
                                     std::string imagePath);

    /** The version that a CPLD runs; empty if it cannot be read. */
    std::string getCPLDVersionString(std::string deviceObjectPath);

    /** The version of an image file; empty if it cannot be read.
     *
     *  @throw std::bad_variant_access  the device's "versionString" is no
     *         string
     */
    std::string getCPLDImageFileVersionString(std::string componentName,
                                              std::string imagePath);

    /** All CPLD components, never some of them: empty if the registry cannot
     *  be read or holds a malformed object path. A device that does not answer
     *  is listed without a version.
     */
    CpldComponentMap getAvailableCpldCompsInfo();

    /** Has the component's own device judge an image.
     *
     *  The purpose is ignored; pass `VersionPurpose::Other`.
     *
     *  @param imagePath  handed on unchanged, a directory as a directory
     *  @return 0 good for this device; -1 not; -2 the component is not bound;
     *          -5 a call failed; -22 the component name is empty
     */
    int VerifyCPLD(std::string imagePath, VersionPurpose,
                   std::string componentName);

    /** As `UpdateBMC`, with the instance word `cpld_rot2` and the component
     *  name before the path. A directory reaches the flash unit as it is.
     *
     *  @return systemd's answer read as a boolean: 0 true, -1 false, -5 no
     *          boolean or a failed call. A real systemd answers with a job's
     *          path, so a started flash returns -5: ask systemd about the
     *          unit.
     */
    int UpdateCPLD(std::string imagePath, VersionPurpose,
                   std::string componentName);

    /** See `onBMCStateChange`. */
    int onCPLDStateChange(sdbusplus::message_t& msg);

    /** Does nothing. */
    void onCPLDUpdateSuccess();

    /** The match rule for the CPLD update manager's signals, with a trailing
     *  comma: the daemon may append terms.
     */
    std::string getCpldNotifiedRulesPattern();

    /** Logs a CPLD notification; always 0. */
    int onCPLDNotifiedSignal(std::string notification);

    /** Reads the version of an uploaded CPLD image, and has the image verified.
     *
     *  @return "version", "extendedVersion" (the component) and "exposeName";
     *          or empty
     *  @throw sdbusplus::exception::SdBusError  the component is not bound;
     *         nothing is logged
     *  @throw std::bad_variant_access  as `getCPLDImageFileVersionString`
     *  @throw std::filesystem::filesystem_error  the path cannot be examined
     */
    UploadResult processUploadCpldImage(std::string imagePath, UPLOAD_IMG_TYPE,
                                        std::string componentName);

    /** @} */

  private:
    sdbusplus::bus_t& bus;
    std::string serviceFile;
};

} // namespace wexa::core
