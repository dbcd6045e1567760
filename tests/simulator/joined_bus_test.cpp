// SPDX-License-Identifier: Apache-2.0
#include "../support/private_bus.hpp"
#include "bmcsim_program.hpp"
#include "managed_flash.hpp"

#include <filesystem>

// A simulated BMC on a bus that runs already.

using namespace test;
using testing::ElementsAre;

namespace
{

class JoinedBus : public testing::TestWithParam<std::string>
{
  protected:
    JoinedBus() :
        program(GetParam() == "dbus-broker" ? startDbusBroker(directory.path())
                                            : startDbusDaemon(directory.path()))
    {}

    std::string address() const
    {
        return "unix:path=" + directory.file("bus");
    }

    TemporaryDirectory directory;
    std::unique_ptr<BusProgram> program;
};

INSTANTIATE_TEST_SUITE_P(Buses, JoinedBus, testing::ValuesIn(busPrograms()),
                         [](const auto& row) {
                             return row.param == "dbus-daemon" ? "OnDbusDaemon"
                                                               : "OnDbusBroker";
                         });

TEST_P(JoinedBus, HasTheServicesOfTheBmc)
{
    const Simulation bmc({"--manager", "builtin", "--bus", address()});

    EXPECT_EQ(std::filesystem::read_symlink(bmc.directory() + "/run/bus"),
              directory.file("bus"));
    EXPECT_EQ(
        run({"busctl", "--address=" + address(), "get-property",
             "com.WEXA.Host", "/com/WEXA/Host", "com.WEXA.Host", "BoardId"}),
        (Completed{0, "q 1\n", ""}));
}

TEST_P(JoinedBus, HasEitherManager)
{
    const Images images;
    const auto image = images.bmc("2.14.0");
    const auto unit = ManagedFlash::unitOf(image);
    for (const auto* manager : {"builtin", "systemd"})
    {
        SKIP_WITHOUT_MANAGER(manager);
        Simulation bmc({"--manager", manager, "--bus", address()});
        ManagerClient client(bmc);
        EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
        EXPECT_THAT(client.ends(1), ElementsAre(unit + ": done"));
        bmc.end();
    }
}

TEST_P(JoinedBus, OutlivesTheBmc)
{
    Simulation bmc({"--manager", "builtin", "--bus", address()});
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "bus", "gone"}),
              (Completed{1, "",
                         "wexa-bmcsim: the bus is not the simulated BMC's own; "
                         "end the program that runs it\n"}));
    bmc.end();

    EXPECT_EQ(std::filesystem::exists(bmc.directory()), false);
    EXPECT_NE(connectTo(address()), nullptr);
}

TEST_P(JoinedBus, MustNotHaveTheNamesOfTheBmc)
{
    for (const auto* manager : {"builtin", "systemd"})
    {
        SKIP_WITHOUT_MANAGER(manager);
        for (const auto* name : {"com.WEXA.Host", "org.freedesktop.systemd1"})
        {
            const auto owner = connectTo(address());
            check(sd_bus_request_name(owner.get(), name, 0), name);
            EXPECT_EQ(runBmcsim({"run", "--manager", manager, "--bus",
                                 address(), "--", "true"}),
                      (Completed{3, "",
                                 "wexa-bmcsim: the name " + std::string(name) +
                                     " is taken on the bus; end the program "
                                     "that has it, or use another bus\n"}));
        }
    }
}

TEST(JoinedBusAddress, IsRefusedWhereItLeadsToNoBus)
{
    const TemporaryDirectory directory;
    const auto refused = [](const std::string& address,
                            const std::string& why) {
        EXPECT_EQ(runBmcsim({"run", "--manager", "builtin", "--bus", address,
                             "--", "true"}),
                  (Completed{3, "", "wexa-bmcsim: " + why + "\n"}));
    };
    for (const std::string address : {"tcp:host=localhost,port=1", "/tmp/bus",
                                      "unix:abstract=bus", "unix:path=bus"})
    {
        refused(address, "'" + address +
                             "' is not the address of a bus with a socket in a "
                             "folder, such as unix:path=/tmp/bus");
    }
    refused("unix:path=" + directory.file("a%20bus") + ",guid=1",
            "no bus listens at " + directory.file("a bus"));
    refused("unix:path=/" + std::string(200, 'x'),
            "no bus listens at /" + std::string(200, 'x'));
}

} // namespace
