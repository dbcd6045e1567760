// SPDX-License-Identifier: Apache-2.0
#include "log_lines.hpp"

#include <algorithm>
#include <array>

/** docs/log-lines.md says the same at more length. The first that fits
 *  counts: what begins alike stands longest first.
 */
static constexpr std::array lines{
    LogLine{"Unable to read version from image", Meaning::refusal,
            "reading the version of the BMC image",
            "the file is no BMC image, or is damaged: get it again"},
    LogLine{"Unable to read version from capsule image", Meaning::refusal,
            "reading the version of the BIOS capsule",
            "the capsule is damaged: get it again"},
    LogLine{"Unable to read version from bios image", Meaning::refusal,
            "reading the version of the BIOS image",
            "the file is no BIOS image, or is damaged: get it again"},
    LogLine{"Verify false", Meaning::refusal,
            "verification by the security manager",
            "the image is of another kind, was changed, or is signed with a "
            "key that this board does not trust: get it again, or check the "
            "keys that this board trusts"},
    LogLine{"Verify failed", Meaning::refusal, "verification by the CPLD",
            "the image is for another component, was changed, or is signed "
            "with a key that this board does not trust: name its component, "
            "get it again, or check the keys that this board trusts"},
    LogLine{"Error in security method call for (/xyz/openbmc_project/security,",
            Meaning::failedCall, "verification by the security manager", ""},
    LogLine{"Error in security method call for (", Meaning::failedCall,
            "verification by the CPLD", ""},
    LogLine{"Error in fwinfo method call for (", Meaning::notRecorded,
            "recording the version as staged", ""},
    LogLine{"Error in getting ApplyTime: (", Meaning::note,
            "reading the requested apply time", ""},
    LogLine{"Error in trying to upgrade ", Meaning::failedCall,
            "starting the flash unit", ""},
    LogLine{"Error in method call for (", Meaning::note,
            "reading the version that a CPLD runs", ""},
    LogLine{"boardID is mismatch: ", Meaning::failedCall,
            "reading the identifier of this board", ""},
    LogLine{"boardID is mismatch", Meaning::refusal,
            "comparing the image's board with this one",
            "use the image that is made for this board"},
    LogLine{"ERROR !! Failed to prepare CPLD image file info: (",
            Meaning::failedCall, "reading the version of the CPLD image",
            "the device cannot read the image: check that it is a CPLD image, "
            "then look at what the CPLD update manager logged"},
    LogLine{"ERROR !! Failed to prepare CPLD info: ", Meaning::failedCall,
            "reading the registry of the CPLDs", ""},
    LogLine{"ERROR !! Failed to obtain avaialble CPLD devices. (",
            Meaning::failedCall, "reading the registry of the CPLDs", ""},
    LogLine{"ERROR !! Failed to find the target CPLD device: ",
            Meaning::refusal, "looking the component up",
            "name a component that wexa-fwmgr components lists"},
    LogLine{"ERROR !! Failed to obtain component name.", Meaning::refusal,
            "looking the component up",
            "name a component that wexa-fwmgr components lists"},
    LogLine{"ERROR !! File ", Meaning::refusal, "looking the image up",
            "name a file, or a directory, that exists"},
    LogLine{"ERROR !! device objpath is empty", Meaning::note,
            "reading the version that a CPLD runs", ""},
    LogLine{"Failed to get cpld image version string", Meaning::refusal,
            "reading the version of the CPLD image",
            "the device tells no \"versionString\" of the image: get the "
            "image again, or update the CPLD update manager"},
    LogLine{"Version string is empty", Meaning::refusal,
            "reading the version of the CPLD image",
            "the device tells an empty version of the image: get the image "
            "again, or update the CPLD update manager"},
    LogLine{"Failed to get cpld image file info", Meaning::refusal,
            "reading the version of the CPLD image",
            "the device knows nothing of the image: get the image again, or "
            "update the CPLD update manager"},
    LogLine{"Error !! ", Meaning::consequence, "", ""},
};

const LogLine* explanationOf(const std::string& line)
{
    const auto* const found =
        std::ranges::find_if(lines, [&](const auto& candidate) {
            return line.starts_with(candidate.beginning);
        });
    return found == lines.end() ? nullptr : found;
}
