// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"
#include "../support/security_manager.hpp"

#include <chrono>

// What becomes of a remote call's failures, shown on VerifyBMC: each is
// logged on one line and becomes -5, whatever failed; and the next call on
// the same connection is right.

using namespace test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using wexa::core::VersionPurpose;

namespace
{

const auto signature =
    out("int wexa::core::FWManagerInternal::VerifyBMC(std::string, "
        "wexa::core::VersionPurpose, std::string)");
const auto trace = out("verify image: /tmp/image");

class RemoteCall : public LibraryTest
{
  protected:
    void offerMethod(Method method)
    {
        offer(security_manager::service, {std::move(method)});
    }

    int verify(const std::string& imagePath = "/tmp/image")
    {
        return manager.VerifyBMC(imagePath, VersionPurpose::BMC, "");
    }
};

TEST_F(RemoteCall, FailsWhereTheServiceIsAbsent)
{
    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(
        events(),
        ElementsAre(signature, trace,
                    security_manager::failure(
                        "sd_bus_call: "
                        "org.freedesktop.DBus.Error.ServiceUnknown: The name "
                        "xyz.openbmc_project.SecurityManager was not provided "
                        "by any .service files")));
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", "/tmp/image")));
}

TEST_F(RemoteCall, FailsWhereTheObjectIsAbsent)
{
    offerMethod({"/elsewhere", security_manager::interface, "verifyBmc",
                 reply::boolean(true)});

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(),
                ElementsAre(signature, trace,
                            security_manager::failure(
                                "sd_bus_call: "
                                "org.freedesktop.DBus.Error.UnknownObject: "
                                "Unknown object "
                                "'/xyz/openbmc_project/security'.")));
}

TEST_F(RemoteCall, FailsWhereTheMethodIsAbsent)
{
    offerMethod(security_manager::method("verifyOther", reply::boolean(true)));

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(
        events(),
        ElementsAre(signature, trace,
                    security_manager::failure(
                        "sd_bus_call: "
                        "org.freedesktop.DBus.Error.UnknownMethod: Unknown "
                        "method verifyBmc or interface "
                        "xyz.openbmc_project.security.SecurityManager.")));
}

TEST_F(RemoteCall, FailsWhereTheInterfaceIsAbsent)
{
    offerMethod({security_manager::path, "xyz.openbmc_project.Other",
                 "verifyBmc", reply::boolean(true)});

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(
        events(),
        ElementsAre(signature, trace,
                    security_manager::failure(
                        "sd_bus_call: "
                        "org.freedesktop.DBus.Error.UnknownMethod: Unknown "
                        "method verifyBmc or interface "
                        "xyz.openbmc_project.security.SecurityManager.")));
}

struct FaultyReply
{
    std::string name;
    Reply reply;
    std::string what;
};

class RemoteCallFails :
    public RemoteCall,
    public testing::WithParamInterface<FaultyReply>
{};

TEST_P(RemoteCallFails, AndTheNextCallIsRight)
{
    setTimeout(100ms);
    offerMethod(security_manager::method("verifyBmc", GetParam().reply));

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(),
                ElementsAre(signature, trace, "call: verifyBmc",
                            security_manager::failure(GetParam().what)));

    setTimeout(25s);
    offerMethod(security_manager::method("verifyBmc", reply::boolean(true)));
    EXPECT_EQ(verify(), 0);
    EXPECT_THAT(events(), ElementsAre(signature, trace, "call: verifyBmc",
                                      out("Verify OK")));
}

INSTANTIATE_TEST_SUITE_P(
    RemoteCall, RemoteCallFails,
    testing::Values(
        FaultyReply{"WithTheErrorOfTheServiceNameAndText",
                    reply::error("org.freedesktop.DBus.Error.AccessDenied",
                                 "not for you"),
                    "sd_bus_call: org.freedesktop.DBus.Error.AccessDenied: "
                    "not for you"},
        FaultyReply{"WithAnErrorNameThatNobodyKnows",
                    reply::error("com.wexa.Error.Odd", "very odd"),
                    "sd_bus_call: com.wexa.Error.Odd: very odd"},
        FaultyReply{"WhereTheAnswerNeverComes", reply::silence(),
                    "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
                    "Connection timed out"},
        FaultyReply{"WhereTheAnswerComesTooLate",
                    reply::late(200ms, reply::boolean(false)),
                    "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
                    "Connection timed out"},
        FaultyReply{"WhereTheServiceDiesFirst", reply::hangUp(),
                    "sd_bus_call: org.freedesktop.DBus.Error.NoReply: "
                    "Message recipient disconnected from message bus without "
                    "replying"},
        FaultyReply{"WhereTheReplyIsEmpty", reply::nothing(),
                    "sd_bus_message_read_basic bool: System.Error.ENXIO: "
                    "No such device or address"},
        FaultyReply{"WhereTheReplyIsAText", reply::text("true"),
                    "sd_bus_message_read_basic bool: System.Error.ENXIO: "
                    "No such device or address"},
        FaultyReply{"WhereTheReplyIsANumber", reply::number(1),
                    "sd_bus_message_read_basic bool: System.Error.ENXIO: "
                    "No such device or address"}),
    [](const auto& row) { return row.param.name; });

TEST_F(RemoteCall, IgnoresWhatComesBehindTheFirstValue)
{
    offerMethod(security_manager::method("verifyBmc",
                                         reply::booleanAndText(true, "more")));

    EXPECT_EQ(verify(), 0);

    EXPECT_THAT(events(), ElementsAre(signature, trace, "call: verifyBmc",
                                      out("Verify OK")));
}

TEST_F(RemoteCall, FailsWhereTheBusIsGone)
{
    bus.kill();

    EXPECT_EQ(verify(), -5);
    EXPECT_THAT(events(),
                ElementsAre(signature, trace,
                            security_manager::failure(
                                "sd_bus_call: "
                                "org.freedesktop.DBus.Error.Disconnected: "
                                "Connection reset by peer")));

    EXPECT_EQ(verify(), -5);
    EXPECT_THAT(events(),
                ElementsAre(signature, trace,
                            security_manager::failure(
                                "sd_bus_call: System.Error.ENOTCONN: "
                                "Transport endpoint is not connected")));
}

TEST_F(RemoteCall, IsCreatedOnAClosedConnectionAndFailsWhenItIsSent)
{
    connection.close();

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(),
                ElementsAre(signature, trace,
                            security_manager::failure(
                                "sd_bus_call: System.Error.ENOTCONN: "
                                "Transport endpoint is not connected")));
}

TEST_F(RemoteCall, FailsWithAPathThatIsNotUtf8AndLosesTheConnection)
{
    offerMethod(security_manager::method("verifyBmc", reply::boolean(true)));

    EXPECT_EQ(verify("/tmp/\xff"), -5);

    const auto seen = events();
    ASSERT_EQ(seen.size(), 3U);
    EXPECT_EQ(seen[1], out("verify image: /tmp/\xff"));
    EXPECT_THAT(seen[2], testing::StartsWith(
                             "err: Error in security method call for "
                             "(/xyz/openbmc_project/security, "
                             "xyz.openbmc_project.security.SecurityManager: "
                             "sd_bus_call: "));

    EXPECT_EQ(verify("/tmp/image"), -5);
}

} // namespace
