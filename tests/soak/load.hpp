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
        end(std::chrono::steady_clock::now() +
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                minutes() * share))
    {}

    /** Runs `round` again and again; the first tenth warms up. */
    template <typename Round>
    void run(Round round)
    {
        std::optional<Resources> before;
        int done = 0;
        while (done < rounds && std::chrono::steady_clock::now() < end &&
               !testing::Test::HasFailure())
        {
            if (!before && done >= rounds / 10)
            {
                before.emplace();
            }
            round();
            ++done;
        }
        ASSERT_TRUE(before) << "not even warm after " << done << " rounds of "
                            << what << ": give it more minutes";
        expectFlat(std::to_string(done) + " of " + std::to_string(rounds) +
                       ' ' + what,
                   *before, {});
    }

  private:
    static std::chrono::duration<double> minutes()
    {
        const auto* const given = std::getenv("WEXA_SOAK_MINUTES");
        return std::chrono::minutes(given == nullptr ? 10 : std::atoi(given));
    }

    std::string what;
    int rounds;
    std::chrono::steady_clock::time_point end;
};

} // namespace test
