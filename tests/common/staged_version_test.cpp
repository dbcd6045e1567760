// SPDX-License-Identifier: Apache-2.0
#include "../support/firmware_information.hpp"
#include "../support/images.hpp"
#include "../support/library_test.hpp"
#include "../support/security_manager.hpp"

// The record of a staged version, shown on a BMC upload: an image whose
// version cannot be recorded is refused, although it was verified.

using namespace test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::FWManagerInternal;

namespace
{

class StagedVersion : public LibraryTest
{
  protected:
    StagedVersion()
    {
        offer(security_manager::service,
              {security_manager::method("verifyBmc", reply::boolean(true))});
    }

    wexa::core::UploadResult upload()
    {
        return manager.processUploadBmcImage(
            image, FWManagerInternal::UPLOAD_IMG_BMC, "");
    }

    /** What an upload says before it records the version. */
    std::vector<std::string> verified() const
    {
        return {out("std::map<std::__cxx11::basic_string<char>, "
                    "std::__cxx11::basic_string<char> > "
                    "wexa::core::FWManagerInternal::processUploadBmcImage("
                    "std::string, wexa::core::FWManagerInternal::"
                    "UPLOAD_IMG_TYPE, std::string)"),
                out("int wexa::core::FWManagerInternal::VerifyBMC(std::string, "
                    "wexa::core::VersionPurpose, std::string)"),
                out("verify image: " + image), "call: verifyBmc",
                out("Verify OK")};
    }

    Images images;
    std::string image = images.bmc("1.0");
};

struct Fault
{
    std::string name;
    Reply reply;
    std::string what;
};

class StagedVersionIsLost :
    public StagedVersion,
    public testing::WithParamInterface<Fault>
{};

TEST_P(StagedVersionIsLost, AndTheUploadIsRefused)
{
    setTimeout(100ms);
    offer(firmware_information::service,
          {firmware_information::set(GetParam().reply)});

    EXPECT_THAT(upload(), IsEmpty());

    auto expected = verified();
    expected.push_back("call: Set");
    expected.push_back(firmware_information::failure(GetParam().what));
    EXPECT_EQ(events(), expected);
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", image),
                            firmware_information::call("stagingBMC", "1.0")));
}

INSTANTIATE_TEST_SUITE_P(
    StagedVersion, StagedVersionIsLost,
    testing::Values(
        Fault{"WhereThePropertyIsUnknown",
              reply::error("org.freedesktop.DBus.Error.UnknownProperty",
                           "Unknown property or interface."),
              "sd_bus_call: org.freedesktop.DBus.Error.UnknownProperty: "
              "Unknown property or interface."},
        Fault{"WhereThePropertyIsReadOnly",
              reply::error("org.freedesktop.DBus.Error.PropertyReadOnly",
                           "Property stagingBMC is not writable."),
              "sd_bus_call: org.freedesktop.DBus.Error.PropertyReadOnly: "
              "Property stagingBMC is not writable."},
        Fault{"WhereTheTypeIsWrong",
              reply::error("org.freedesktop.DBus.Error.InvalidArgs",
                           "Incorrect parameters"),
              "sd_bus_call: org.freedesktop.DBus.Error.InvalidArgs: "
              "Incorrect parameters"},
        Fault{"WhereTheServiceNeverAnswers", reply::silence(),
              "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
              "Connection timed out"},
        Fault{"WhereTheServiceDies", reply::hangUp(),
              "sd_bus_call: org.freedesktop.DBus.Error.NoReply: Message "
              "recipient disconnected from message bus without replying"}),
    [](const auto& row) { return row.param.name; });

TEST_F(StagedVersion, IsLostWhereTheServiceIsAbsent)
{
    EXPECT_THAT(upload(), IsEmpty());

    auto expected = verified();
    expected.push_back(firmware_information::failure(
        "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: The name "
        "xyz.openbmc_project.FwInfoManager was not provided by any .service "
        "files"));
    EXPECT_EQ(events(), expected);
}

TEST_F(StagedVersion, IsRecordedWhateverTheServiceAnswers)
{
    offer(firmware_information::service,
          {firmware_information::set(reply::text("done"))});

    EXPECT_EQ(upload().size(), 2U);
}

TEST_F(StagedVersion, EndsTheUploadWhereItsCallCannotBeCreated)
{
    // The connection is lost between the two calls of the operation.
    transcript.when(out("Verify OK"), [this] { connection = unconnected(); });

    EXPECT_EQ(
        thrownText<sdbusplus::exception::SdBusError>([this] { upload(); }),
        creationFailure);

    EXPECT_EQ(events(), verified());
}

} // namespace
