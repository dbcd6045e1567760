// SPDX-License-Identifier: Apache-2.0
#include "../support/cpld_manager.hpp"
#include "../support/disturbed_call.hpp"
#include "../support/firmware_information.hpp"
#include "../support/images.hpp"
#include "../support/library_test.hpp"
#include "../support/security_manager.hpp"

#include <functional>

// Exceptions that are not sdbusplus's, thrown where a call is made: most
// leave the operation; three places of the CPLD operations catch them.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

namespace
{

constexpr auto device = "/xyz/openbmc_project/cpld_update_mgr/mb";

class ForeignException : public LibraryTest
{
  protected:
    void offerCplds()
    {
        offer(cpld_manager::service,
              {cpld_manager::bindedDevices(
                  cpld_manager::registry({{"MB", device, "jtag", {}}}))});
    }

    /** What leaves an operation when calls of `member` throw. */
    static std::string leaving(const std::string& member,
                               const std::function<void()>& operation)
    {
        const ThrowingCall throwing{member};
        return thrownText<std::runtime_error>(operation);
    }

    static constexpr auto thrown = "from below";
    Images images;
};

TEST_F(ForeignException, LeavesVerifications)
{
    EXPECT_EQ(
        leaving("verifyBmc",
                [this] { manager.VerifyBMC("/i", VersionPurpose::BMC, ""); }),
        thrown);
    EXPECT_EQ(
        leaving("verifyBios",
                [this] { manager.VerifyBIOS("/i", VersionPurpose::Host, ""); }),
        thrown);
    offerCplds();
    EXPECT_EQ(leaving("verifyCPLD",
                      [this] {
                          manager.VerifyCPLD("/i", VersionPurpose::Host, "MB");
                      }),
              thrown);
}

TEST_F(ForeignException, LeavesLaunches)
{
    EXPECT_EQ(
        leaving("StartUnit",
                [this] { manager.UpdateBMC("/i", VersionPurpose::BMC, ""); }),
        thrown);
    EXPECT_EQ(leaving("StartUnit",
                      [this] {
                          manager.UpdateCPLD("/i", VersionPurpose::BMC, "MB");
                      }),
              thrown);
}

TEST_F(ForeignException, LeavesQuestions)
{
    EXPECT_EQ(leaving("Get", [this] { manager.compare_boardID("/i"); }),
              thrown);
    EXPECT_EQ(leaving("readMBVersionString",
                      [this] { manager.getCPLDVersionString(device); }),
              thrown);
    EXPECT_EQ(leaving("bindedDevices",
                      [this] { manager.getCPLDImageFileInfo("MB", "/"); }),
              thrown);
}

TEST_F(ForeignException, LeavesUploads)
{
    offer(security_manager::service,
          {security_manager::method("verifyBmc", reply::boolean(true)),
           security_manager::method("verifyCapsule", reply::boolean(true))});
    offer(firmware_information::service,
          {firmware_information::set(reply::nothing())});
    EXPECT_EQ(leaving("Set",
                      [this] {
                          manager.processUploadBmcImage(
                              images.bmc("1"),
                              FWManagerInternal::UPLOAD_IMG_BMC, "");
                      }),
              thrown);
    const auto capsule =
        images.make("capsule", {"--kind", "capsule", "--version", "1"});
    EXPECT_EQ(leaving("Get",
                      [&] {
                          manager.processUploadBiosImage(
                              capsule, FWManagerInternal::UPLOAD_IMG_BIOS, "");
                      }),
              thrown);
}

TEST_F(ForeignException, EndsTheDiscovery)
{
    const ThrowingCall throwing{"bindedDevices"};

    EXPECT_THAT(manager.getAvailableCpldCompsInfo(), IsEmpty());

    EXPECT_THAT(events(),
                ElementsAre(out("[getAvailableCpldCompsInfo]"),
                            err("ERROR !! Failed to prepare CPLD info: from "
                                "below")));
}

TEST_F(ForeignException, FromALookupOfAVersionEndsTheDiscovery)
{
    offerCplds();
    const ThrowingCall throwing{"readMBVersionString"};

    EXPECT_THAT(manager.getAvailableCpldCompsInfo(), IsEmpty());

    EXPECT_EQ(events().back(),
              err("ERROR !! Failed to prepare CPLD info: from below"));
}

TEST_F(ForeignException, FailsTheLookupOfTheCpldToVerify)
{
    const ThrowingCall throwing{"bindedDevices"};

    EXPECT_EQ(manager.VerifyCPLD("/i", VersionPurpose::Host, "MB"), -5);

    EXPECT_EQ(events().back(),
              err("ERROR !! Failed to obtain avaialble CPLD devices. "
                  "(xyz.openbmc_project.CpldUpdateMgrSvc,"
                  "/xyz/openbmc_project/cpld_update_mgr,"
                  "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc): from "
                  "below"));
}

TEST_F(ForeignException, FailsTheDescriptionOfACpldImage)
{
    offerCplds();
    const ThrowingCall throwing{"readImageFileInfo"};

    EXPECT_THAT(manager.getCPLDImageFileInfo("MB", "/dev/null"), IsEmpty());

    EXPECT_EQ(events().back(),
              err("ERROR !! Failed to prepare CPLD image file info: "
                  "(xyz.openbmc_project.CpldUpdateMgrSvc, " +
                  std::string(device) +
                  ", xyz.openbmc_project.cpld_update_mgr.CpldDevice, image "
                  "file: /dev/null): from below"));
}

} // namespace
