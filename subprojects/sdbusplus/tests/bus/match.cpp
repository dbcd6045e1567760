// SPDX-License-Identifier: Apache-2.0
#include "../support/private_bus.hpp"
#include "../support/settle.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus/match.hpp>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using sdbusplus::message_t;
using sdbusplus::bus::match_t;
using support::PrivateBus;

class Match : public testing::Test
{
  protected:
    static constexpr auto rule =
        "type='signal',interface='an.Interface',member='Changed'";

    /** Emits a signal and handles everything up to it. */
    void emit(const char* member, uint32_t number)
    {
        auto m = bus.new_signal("/object", "an.Interface", member);
        m.append(number);
        m.signal_send();
        support::settle(bus);
    }

    match_t::callback_t note()
    {
        return [this](message_t& m) {
            uint32_t number = 0;
            m.read(number);
            seen.push_back(number);
        };
    }

    using Numbers = std::vector<uint32_t>;

    PrivateBus daemon;
    sdbusplus::bus_t bus = daemon.connect();
    Numbers seen;
};

TEST_F(Match, IsCalledForEachSignalThatFits)
{
    match_t match(bus, rule, note());
    emit("Changed", 1);
    emit("Other", 2);
    emit("Changed", 3);
    EXPECT_EQ(seen, (Numbers{1, 3}));
}

TEST_F(Match, TakesAStringForARule)
{
    match_t match(bus, std::string(rule), note());
    emit("Changed", 1);
    EXPECT_EQ(seen, Numbers{1});
}

TEST_F(Match, StaysBehindAnotherOfTheSameRule)
{
    match_t first(bus, rule, note());
    match_t second(bus, rule, note());
    emit("Changed", 1);
    EXPECT_EQ(seen, (Numbers{1, 1}));
}

TEST_F(Match, EndsWithItsObject)
{
    {
        match_t match(bus, rule, note());
        emit("Changed", 1);
    }
    emit("Changed", 2);
    EXPECT_EQ(seen, Numbers{1});
}

TEST_F(Match, MovesWithItsFunction)
{
    match_t first(bus, rule, note());
    match_t second(std::move(first));
    emit("Changed", 1);
    EXPECT_EQ(seen, Numbers{1});
    match_t other(bus, "type='signal',member='Other'", note());
    other = std::move(second);
    emit("Other", 2);
    emit("Changed", 3);
    EXPECT_EQ(seen, (Numbers{1, 3}));
}

TEST_F(Match, IsMovedAndNeverCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<match_t>);
    EXPECT_FALSE(std::is_copy_assignable_v<match_t>);
    EXPECT_FALSE(std::is_default_constructible_v<match_t>);
}

TEST_F(Match, MayKeepTheMessageItIsGiven)
{
    message_t kept;
    match_t match(bus, rule, [&](message_t& m) { kept = m; });
    emit("Changed", 5);
    uint32_t number = 0;
    kept.read(number);
    EXPECT_EQ(number, 5U);
}

TEST_F(Match, DoesNotThrowForARuleThatTheBusRefuses)
{
    match_t match(bus, "no rule", note());
    emit("Changed", 1);
    EXPECT_EQ(seen, Numbers{});
}

TEST_F(Match, AcceptsABusWithoutAConnection)
{
    sdbusplus::bus_t none(nullptr);
    EXPECT_NO_THROW(match_t(none, rule, note()));
}

// In a process of its own, because sd-bus does not clean up behind it.
using MatchDeathTest = Match;

TEST_F(MatchDeathTest, LetsAnExceptionThroughToTheCallerOfProcess)
{
    auto processAndReport = [&] {
        match_t match(bus, rule, [](message_t&) {
            throw std::runtime_error("thrown by the function");
        });
        try
        {
            emit("Changed", 1);
        }
        catch (const std::runtime_error& error)
        {
            fprintf(stderr, "caught: %s\n", error.what());
            daemon.kill();
            _exit(42);
        }
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(processAndReport(), testing::ExitedWithCode(42),
                "caught: thrown by the function");
}

} // namespace
