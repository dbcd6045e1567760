// SPDX-License-Identifier: Apache-2.0
#include "../support/signatures.hpp"
#include "cpld_test.hpp"

// VerifyCPLD: the device is looked up, then judges the image itself.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::VersionPurpose;

namespace
{

class VerifyCpld : public CpldTest
{
  protected:
    void deviceAnswers(Reply reply)
    {
        offerManager(
            {cpld_manager::method(mb, "verifyCPLD", std::move(reply))});
    }

    int verify(const std::string& component = "MB_CPLD",
               const std::string& path = "/tmp/image")
    {
        return manager.VerifyCPLD(path, VersionPurpose::Other, component);
    }

    static std::string asked(const std::string& component = "MB_CPLD")
    {
        return out("Verify " + component + ", image: /tmp/image");
    }
};

const auto image = out("verify image: /tmp/image");

TEST_F(VerifyCpld, AcceptsWhatTheDeviceAccepts)
{
    deviceAnswers(reply::boolean(true));

    EXPECT_EQ(verify(), 0);

    EXPECT_THAT(events(), ElementsAre(signature("VerifyCPLD"), asked(),
                                      "call: bindedDevices", image,
                                      "call: verifyCPLD", out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(cpld_manager::registryCall(),
                                    cpld_manager::call(mb, "verifyCPLD",
                                                       "/tmp/image")));
}

TEST_F(VerifyCpld, RefusesWhatTheDeviceRefuses)
{
    deviceAnswers(reply::boolean(false));

    EXPECT_EQ(verify(), -1);

    EXPECT_THAT(events(),
                ElementsAre(signature("VerifyCPLD"), asked(),
                            "call: bindedDevices", image, "call: verifyCPLD",
                            out("Verify failed")));
}

TEST_F(VerifyCpld, MakesNoCallWithoutAComponent)
{
    deviceAnswers(reply::boolean(true));

    EXPECT_EQ(verify(""), -22);

    EXPECT_THAT(events(),
                ElementsAre(signature("VerifyCPLD"), asked(""),
                            err("ERROR !! Failed to obtain component name.")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(VerifyCpld, FindsTheComponentByItsExactName)
{
    deviceAnswers(reply::boolean(true));
    for (const auto* component : {"mb_cpld", "MB_CPLD ", "MB_CPL", "FAN"})
    {
        EXPECT_EQ(verify(component), -2);
        EXPECT_THAT(events(),
                    ElementsAre(signature("VerifyCPLD"), asked(component),
                                "call: bindedDevices",
                                err("ERROR !! Failed to find the target CPLD "
                                    "device: " +
                                    std::string(component))));
        EXPECT_THAT(sent(), ElementsAre(cpld_manager::registryCall()));
    }
}

TEST_F(VerifyCpld, IgnoresThePurpose)
{
    deviceAnswers(reply::boolean(true));
    for (const auto purpose : {VersionPurpose::BMC, VersionPurpose::Unknown,
                               static_cast<VersionPurpose>(7)})
    {
        EXPECT_EQ(manager.VerifyCPLD("/tmp/image", purpose, "MB_CPLD"), 0);
    }
}

TEST_F(VerifyCpld, EndsWhereTheDevicesPathIsEmptyOrMalformed)
{
    for (const auto* path : {"", "no/slash"})
    {
        offerManagerWith(cpld_manager::registry({{"MB_CPLD", path, "d", {}}}));

        EXPECT_EQ(
            thrownText<sdbusplus::exception::SdBusError>([this] { verify(); }),
            "sd_bus_message_new_method_call: "
            "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
        EXPECT_THAT(events(), ElementsAre(signature("VerifyCPLD"), asked(),
                                          "call: bindedDevices"));
    }
}

} // namespace
