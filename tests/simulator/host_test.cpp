// SPDX-License-Identifier: Apache-2.0
#include "service_test.hpp"

using namespace test;

namespace
{

class SimulatedHost : public ServiceTest
{
  protected:
    static Completed board()
    {
        return properties("com.WEXA.Host", "/com/WEXA/Host",
                          {"Get", "ss", "com.WEXA.Host", "BoardId"});
    }
};

TEST_F(SimulatedHost, TellsTheBoardThatItIsSetTo)
{
    EXPECT_EQ(board(), (Completed{0, "v q 1\n", ""}));
    bmc->set("board-id", "65535");
    EXPECT_EQ(board(), (Completed{0, "v q 65535\n", ""}));
    bmc->set("board-id", "1");
}

TEST_F(SimulatedHost, BehavesAsItIsTold)
{
    bmc->set("host", "refuse");
    EXPECT_EQ(board(), failed("Access denied"));
    bmc->set("host", "error");
    EXPECT_EQ(board(), failed("the simulated service was told to fail"));
    bmc->set("host", "wrong-type");
    EXPECT_EQ(board(), (Completed{0, "v s \"1\"\n", ""}));
    bmc->set("host", "silent");
    EXPECT_EQ(board(), failed("Connection timed out"));
    bmc->set("host", "absent");
    EXPECT_EQ(board(), failed("The name com.WEXA.Host was not provided by any "
                              ".service files"));
}

} // namespace
