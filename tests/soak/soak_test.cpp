// SPDX-License-Identifier: Apache-2.0
#include "../faults/fault.hpp"
#include "../support/simulation.hpp"
#include "load.hpp"

#include <map>
#include <mutex>
#include <random>

// The library for a long time: no result is unexpected, and what the process
// holds does not grow.

using namespace test;

namespace
{

class Soak : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    /** The same order of things in each run. */
    std::mt19937 random{20220401};

    template <typename Choices>
    const auto& any(const Choices& choices)
    {
        return choices[std::uniform_int_distribution<std::size_t>(
            0, choices.size() - 1)(random)];
    }
};

/** A platform for use outside of a test of its own. */
struct Board : Platform
{
    void TestBody() override {}

    void forget()
    {
        events();
        sent();
    }
};

/** Services that stay, whose answers are switched. */
class SwitchedBoard : public Board
{
  public:
    SwitchedBoard()
    {
        std::map<std::string, std::vector<Method>> methods;
        for (const auto& site : callSites())
        {
            auto& offered = methods[site.service];
            const auto isOffered =
                std::ranges::any_of(offered, [&](const Method& method) {
                    return method.path == site.path &&
                           method.member == site.member;
                });
            if (!isOffered)
            {
                offered.push_back({site.path, site.interface, site.member,
                                   [this, key = keyOf(site)](auto* call) {
                                       answer(key)(call);
                                   }});
            }
        }
        for (auto& [service, offered] : methods)
        {
            offer(service, offered);
        }
    }

    /** Answers from now on; all other sites are healthy. */
    void start(const CallSite& site, Method method) override
    {
        const std::scoped_lock lock(mutex);
        answers.clear();
        for (const auto& other : callSites())
        {
            answers.try_emplace(keyOf(other), healthy(other));
        }
        answers.insert_or_assign(keyOf(site), std::move(method.reply));
    }

  private:
    using Key = std::pair<std::string, std::string>;

    static Key keyOf(const CallSite& site)
    {
        return {site.path, site.member};
    }

    Reply answer(const Key& key)
    {
        const std::scoped_lock lock(mutex);
        return answers.at(key);
    }

    std::mutex mutex;
    std::map<Key, Reply> answers;
};

TEST_F(Soak, HealthyCalls)
{
    SwitchedBoard board;
    Load("operations on a healthy platform", 1'000'000, 0.5).run([&] {
        const auto& site = any(callSites());
        board.startHealthy(site);
        ASSERT_EQ(board.run(site), site.success.result) << site.name;
        board.forget();
    });
}

TEST_F(Soak, RandomFaults)
{
    SwitchedBoard board;
    const auto faults = replyFaults();
    Load("operations with a faulty reply", 100'000, 0.2).run([&] {
        const auto& site = any(callSites());
        const auto& fault = any(faults);
        if (fault.concerns(site))
        {
            fault.happen(board, site);
            ASSERT_EQ(board.run(site), (site.*fault.ending).result)
                << site.name << ' ' << fault.name;
            board.startHealthy(site);
            board.forget();
        }
    });
}

TEST_F(Soak, KillsOfServices)
{
    Board board;
    Load("services that died instead of answering", 1'000, 0.1).run([&] {
        const auto& site = any(callSites());
        board.startAnswering(site, reply::hangUp());
        ASSERT_EQ(board.run(site), site.failure.result) << site.name;
        board.startHealthy(site);
        ASSERT_EQ(board.run(site), site.success.result) << site.name;
        board.forget();
    });
}

TEST_F(Soak, KillsOfTheBus)
{
    Load("buses that died during a call", 50, 0.05).run([&] {
        Board board;
        const auto& site = any(callSites());
        board.startAnswering(site,
                             [&](sd_bus_message*) { board.theBus().kill(); });
        ASSERT_EQ(board.run(site), site.failure.result) << site.name;
    });
}

} // namespace
