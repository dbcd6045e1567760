// SPDX-License-Identifier: Apache-2.0
#include "../faults/fault.hpp"
#include "../faults/site_images.hpp"
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

/** The answer to StartUnit: what each launch calls healthy. */
void answerStart(sd_bus_message* call)
{
    const char* unit = "";
    check(sd_bus_message_read(call, "s", &unit), "unit");
    const auto isCpld =
        std::string(unit).find("cpld_rot2") != std::string::npos;
    healthy(siteNamed(isCpld ? "UpdateCpld" : "UpdateBmc"))(call);
}

/** Services that stay and are healthy except for one method, which is switched.
 */
class SwitchedBoard : public Board
{
  public:
    SwitchedBoard()
    {
        for (const auto& site : callSites())
        {
            usual.try_emplace(keyOf(site), site.member == "StartUnit"
                                               ? Reply(answerStart)
                                               : healthy(site));
        }
        std::map<std::string, std::vector<Method>> methods;
        for (const auto& site : callSites())
        {
            methods[site.service].push_back(
                {site.path, site.interface, site.member,
                 [this, key = keyOf(site)](auto* call) { answer(key)(call); }});
        }
        for (auto& [service, offered] : methods)
        {
            offer(service, offered);
        }
    }

    void start(const CallSite& site, Method method) override
    {
        const std::scoped_lock lock(mutex);
        switched.emplace(keyOf(site), std::move(method.reply));
    }

    void recover()
    {
        const std::scoped_lock lock(mutex);
        switched.reset();
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
        return switched && switched->first == key ? switched->second
                                                  : usual.at(key);
    }

    std::mutex mutex;
    std::map<Key, Reply> usual;
    std::optional<std::pair<Key, Reply>> switched;
};

TEST_F(Soak, HealthyCalls)
{
    SwitchedBoard board;
    int unheard = 0;
    Load("operations on a healthy platform", 1'000'000, 0.4)
        .run(
            [&] {
                const auto& site = any(callSites());
                ASSERT_EQ(board.run(site), site.success.result) << site.name;
                if (++unheard == 100)
                {
                    board.forget();
                    unheard = 0;
                }
            },
            [&] { board.forget(); });
}

TEST_F(Soak, RandomFaults)
{
    SwitchedBoard board;
    const auto cells = cellsOf(replyFaults());
    Load("operations with a faulty reply", 100'000, 0.45).run([&] {
        const auto& [site, fault] = any(cells);
        fault.inject(board, site);
        ASSERT_EQ(board.run(site), (site.*fault.ending).result)
            << site.name << ' ' << fault.name;
        board.recover();
        board.forget();
    });
}

TEST_F(Soak, KillsOfServices)
{
    Board board;
    Load("services that died instead of answering", 1'000, 0.05).run([&] {
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
    Load("buses that died during a call", 50, 0.02).run([&] {
        Board board;
        const auto& site = any(callSites());
        board.startAnswering(site,
                             [&](sd_bus_message*) { board.theBus().kill(); });
        ASSERT_EQ(board.run(site), site.failure.result) << site.name;
    });
}

} // namespace
