// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "resources.hpp"

#include <chrono>
#include <cstdlib>
#include <optional>

namespace test
{

/** A part of the soak: so many rounds, or as many as there is time for. */
class Load
{
  public:
    /** @param rounds  how many are wanted
     *  @param share   of the minutes that WEXA_SOAK_MINUTES gives to all parts
     */
    Load(std::string what, int rounds, double share) :
        what(std::move(what)), rounds(rounds),
        time(std::chrono::duration_cast<Clock::duration>(minutes() * share))
    {}

    /** Runs `round` again and again; the first tenth warms up. Ends where a
     *  round fails.
     */
    template <typename Round>
    void run(Round round)
    {
        run(round, [] {});
    }

    /** The same; `settle` drops what rounds have gathered. */
    template <typename Round, typename Settle>
    void run(Round round, Settle settle)
    {
        const auto begin = Clock::now();
        std::optional<Resources> before;
        int done = 0;
        while (done < rounds && Clock::now() < begin + time &&
               !testing::Test::HasFailure())
        {
            if (!before &&
                (done >= rounds / 10 || Clock::now() > begin + time / 10))
            {
                settle();
                before.emplace();
            }
            round();
            ++done;
        }
        ASSERT_TRUE(before) << "not even warm after " << done << ' ' << what;
        settle();
        expectFlat(std::to_string(done) + " of " + std::to_string(rounds) +
                       ' ' + what,
                   *before, {});
    }

  private:
    using Clock = std::chrono::steady_clock;

    static std::chrono::duration<double> minutes()
    {
        const auto* const given = std::getenv("WEXA_SOAK_MINUTES");
        return std::chrono::minutes(given == nullptr ? 10 : std::atoi(given));
    }

    std::string what;
    int rounds;
    Clock::duration time;
};

} // namespace test
