// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/transcript.hpp"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace fuzz
{

/** Keeps what a `test::Transcript` would, of one who logs here instead of to
 *  the standard streams.
 */
class Log
{
  public:
    void out(const std::string& line)
    {
        note(test::out(line));
    }

    void err(const std::string& line)
    {
        note("err: " + std::exchange(unflushed, {}) + line + '\n');
    }

    void errNotFlushed(const std::string& text)
    {
        unflushed += text;
    }

    /** From any thread. */
    void note(std::string event)
    {
        const std::lock_guard lock(mutex);
        happened.push_back(std::move(event));
    }

    std::vector<std::string> events()
    {
        if (!unflushed.empty())
        {
            note(test::errNotFlushed(std::exchange(unflushed, {})));
        }
        const std::lock_guard lock(mutex);
        return std::exchange(happened, {});
    }

  private:
    std::mutex mutex;
    std::vector<std::string> happened;
    std::string unflushed;
};

} // namespace fuzz
