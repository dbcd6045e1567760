// SPDX-License-Identifier: Apache-2.0
#include "../support/firmware_information.hpp"
#include "../support/host.hpp"
#include "../support/scripted_core_library.hpp"
#include "platform.hpp"
#include "site_words.hpp"

#include <climits>

// What the core library's routines may do wrong, on a healthy platform: only
// what they call a failure is one; texts are taken as they are, and no further
// than their buffers; what they throw leaves the operation.

using namespace test;

namespace
{

/** What happens, and what is sent. */
struct Course
{
    Events events;
    Events sent{};
};

using CourseAt = std::function<Course(const CallSite&)>;

struct Misbehaviour
{
    std::string name;

    /** The call site of the record that the upload makes. */
    std::string site;
    std::function<void(ScriptedCoreLibrary&)> script;
    std::string result;
    CourseAt course;
};

void PrintTo(const Misbehaviour& row, std::ostream* stream)
{
    *stream << row.name;
}

class CoreLibraryFault :
    public Platform,
    public testing::WithParamInterface<Misbehaviour>
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    ScriptedCoreLibrary core;
};

TEST_P(CoreLibraryFault, Ends)
{
    const auto& row = GetParam();
    const auto& site = siteNamed(row.site);
    startHealthy(site);
    row.script(core);

    EXPECT_EQ(run(site), row.result);

    const auto expected = row.course(site);
    EXPECT_EQ(events(), expected.events);
    EXPECT_EQ(sent(), expected.sent);
    EXPECT_TRUE(isConnected());
}

Course signatureOnly(const CallSite& site)
{
    return {{site.before.front()}};
}

/** The board was asked for before. */
Course signatureAndHost(const CallSite& site)
{
    return {{site.before.front(), "call: Get"}, {host::call()}};
}

Course wrongBoard(const CallSite& site)
{
    auto course = signatureAndHost(site);
    course.events.push_back(errNotFlushed("boardID is mismatch\n"));
    return course;
}

CourseAt unreadable(const std::string& what)
{
    return [what](const CallSite& site) {
        auto course = signatureOnly(site);
        course.events.push_back(
            errNotFlushed("Unable to read version from " + what + "\n"));
        return course;
    };
}

/** The image is accepted, and this recorded as its version. */
CourseAt recorded(const std::string& version)
{
    return [version](const CallSite& site) -> Course {
        return {site.before + Events{"call: Set"} + site.success.events,
                site.sentBefore +
                    Events{firmware_information::call(site.property, version)} +
                    site.success.sent};
    };
}

Course unsendable(const CallSite& site)
{
    return {site.before + Events{firmware_information::failure(
                              "sd_bus_call: org.freedesktop.DBus.Error."
                              "InconsistentMessage: Bad message")},
            site.sentBefore};
}

Misbehaviour throwing(const std::string& name, const std::string& site,
                      const std::string& routine, CourseAt course)
{
    return {name, site,
            [=](ScriptedCoreLibrary& core) { core.throwing = routine; },
            "another exception: from the core library", std::move(course)};
}

Misbehaviour bmcVersion(const std::string& name, const std::string& version,
                        const std::string& result, CourseAt course)
{
    return {name, "UploadBmcRecordingTheVersion",
            [=](ScriptedCoreLibrary& core) { core.bmcVersion = version; },
            result, std::move(course)};
}

Misbehaviour versionResult(const std::string& name, const std::string& site,
                           const std::string& what, int result)
{
    return {name, site,
            [=](ScriptedCoreLibrary& core) { core.versionResult = result; },
            "{}", unreadable(what)};
}

Misbehaviour texts(const std::string& name, const std::string& site,
                   const std::string& version, const std::string& date,
                   const std::string& result, CourseAt course)
{
    return {name, site,
            [=](ScriptedCoreLibrary& core) {
                core.version = version;
                core.date = date;
            },
            result, std::move(course)};
}

Misbehaviour board(const std::string& name, int board)
{
    return {name, "UploadBiosRecordingTheVersion",
            [=](ScriptedCoreLibrary& core) { core.board = board; }, "{}",
            wrongBoard};
}

/** Of an upload whose apply time is on reset. */
std::string withVersion(const std::string& version)
{
    return R"({applyTime: "OnReset", extendedVersion: "", version: ")" +
           version + "\"}";
}

std::string bmcResult(const std::string& version)
{
    return R"({extendedVersion: "", version: ")" + version + "\"}";
}

const std::string bmc = "UploadBmcRecordingTheVersion";
const std::string bios = "UploadBiosRecordingTheVersion";
const std::string capsule = "UploadCapsuleRecordingTheVersion";
const std::string full(64, 'v');
const std::string zeroInside("1\0002", 3);

// The buffers are zeroed before: one zero clears what the real routine wrote.
const std::string nothing(64, '\0');
const std::string dateNotUtf8 = std::string("\xc3(") + nothing;
const std::string versionNotUtf8 = std::string("1.\xff") + nothing;

INSTANTIATE_TEST_SUITE_P(
    Upload, CoreLibraryFault,
    testing::Values(
        bmcVersion("BmcVersionThatCannotBeRead", "", "{}", unreadable("image")),
        bmcVersion("BmcVersionThatIsVeryLong", mebibyte, bmcResult(mebibyte),
                   recorded(mebibyte)),
        bmcVersion("BmcVersionWithAZeroByteInside", zeroInside,
                   bmcResult(zeroInside), recorded("1")),
        bmcVersion("BmcVersionThatIsNotUtf8", "1.\xff", "{}", unsendable),
        throwing("BmcVersionThatThrows", bmc,
                 "get_bmc_version_string_from_image", signatureOnly),

        versionResult("BiosVersionWithAPositiveResult", bios, "bios image", 1),
        versionResult("BiosVersionWithANegativeResult", bios, "bios image",
                      INT_MIN),
        texts("BiosVersionWithoutAnEnd", bios, full, "d" + nothing,
              withVersion(full), recorded("BIOS Date: d Ver " + full)),
        texts("BiosDateWithoutAnEnd", bios, "1.0" + nothing, full,
              withVersion("1.0"), recorded("BIOS Date: " + full + " Ver 1.0")),
        texts("BiosTextsThatAreEmpty", bios, nothing, nothing, withVersion(""),
              recorded("BIOS Date:  Ver ")),
        texts("BiosVersionThatIsNotUtf8", bios, versionNotUtf8, "d" + nothing,
              "{}", unsendable),
        texts("BiosDateThatIsNotUtf8", bios, "1.0" + nothing, dateNotUtf8, "{}",
              unsendable),
        throwing("BiosVersionThatThrows", bios, "get_bios_version_from_image",
                 signatureOnly),
        throwing("BiosBoardThatThrows", bios, "get_bios_board_id",
                 signatureAndHost),
        board("BiosBoardThatCannotBeRead", -1),
        board("BiosBoardOutOfRange", 7 + 65536),
        board("BiosBoardOutOfRangeBelow", 7 - 65536),
        board("BiosBoardAtTheLowerEnd", INT_MIN),
        board("BiosBoardAtTheUpperEnd", INT_MAX),

        versionResult("CapsuleVersionWithAPositiveResult", capsule,
                      "capsule image", 64),
        versionResult("CapsuleVersionWithANegativeResult", capsule,
                      "capsule image", -1),
        texts("CapsuleVersionWithoutAnEnd", capsule, full, "",
              withVersion(full), recorded(full)),
        texts("CapsuleVersionThatIsEmpty", capsule, nothing, "",
              withVersion(""), recorded("")),
        texts("CapsuleVersionThatIsNotUtf8", capsule, versionNotUtf8, "", "{}",
              unsendable),
        throwing("CapsuleKindThatThrows", capsule,
                 "check_bios_seamless_capsule", signatureOnly),
        throwing("CapsuleVersionThatThrows", capsule,
                 "get_capsule_version_from_image", signatureOnly)),
    [](const auto& row) { return row.param.name; });

} // namespace
