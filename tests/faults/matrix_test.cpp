// SPDX-License-Identifier: Apache-2.0
#include "fault.hpp"
#include "site_words.hpp"

// Every remote call of the library meets every fault that a bus and its
// services can show. A row names the operation and the fault; it holds the
// result or exception, both streams, the calls that services got, what was
// sent, the remembered unit, and that the connection works afterwards as
// before, where it can.

using namespace test;

namespace
{

/** What happens up to the answer, as far as the call gets. */
Events eventsUpTo(const CallSite& site, Reach reach)
{
    auto expected = site.before;
    if (reach != Reach::notCreated)
    {
        expected = expected + site.announcement;
    }
    if (reach == Reach::service)
    {
        expected.push_back("call: " + site.member);
    }
    return expected;
}

Events sentUpTo(const CallSite& site, Reach reach)
{
    auto expected = site.sentBefore;
    if (reach == Reach::bus || reach == Reach::service)
    {
        expected.push_back(site.call);
    }
    return expected;
}

class RemoteCall : public Platform, public testing::WithParamInterface<Cell>
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    const CallSite& site = GetParam().site;
    const Fault& fault = GetParam().fault;

    void expectEnding(const Ending& ending, Reach reach,
                      const std::string& failure)
    {
        EXPECT_EQ(heard(),
                  eventsUpTo(site, reach) + filled(ending.events, failure));
        if (theBus().isRunning())
        {
            EXPECT_EQ(sent(), sentUpTo(site, reach) + ending.sent);
        }
        EXPECT_EQ(rememberedUnit(),
                  reach == Reach::notCreated ? "" : site.remembered);
    }
};

TEST_P(RemoteCall, Ends)
{
    fault.inject(*this, site);

    const auto result = run(site);
    endFault();

    const auto failure = fault.failure ? fault.failure(*this, site) : "";
    const auto ending = fault.reach == Reach::notCreated
                            ? Ending{"SdBusError: " + failure}
                            : site.*fault.ending;
    EXPECT_EQ(result, ending.result);
    expectEnding(ending, fault.reach, failure);
    ASSERT_EQ(isConnected(), fault.connectionSurvives);

    if (fault.connectionSurvives)
    {
        EXPECT_EQ(waitingSignals(), fault.signals);
        startHealthy(site);
        EXPECT_EQ(run(site), site.success.result);
        expectEnding(site.success, Reach::service, "");
    }
}

std::string nameOf(const testing::TestParamInfo<Cell>& row)
{
    return row.param.site.name + row.param.fault.name;
}

INSTANTIATE_TEST_SUITE_P(Bus, RemoteCall,
                         testing::ValuesIn(cellsOf(busFaults())), nameOf);
INSTANTIATE_TEST_SUITE_P(Service, RemoteCall,
                         testing::ValuesIn(cellsOf(serviceFaults())), nameOf);
INSTANTIATE_TEST_SUITE_P(Reply, RemoteCall,
                         testing::ValuesIn(cellsOf(replyFaults())), nameOf);

} // namespace
