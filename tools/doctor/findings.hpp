// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/result.hpp"

#include <cstddef>
#include <string>
#include <vector>

/** How good a finding is. */
enum class Level
{
    ok,
    /** It was not looked at, for a reason. */
    notChecked,
    /** It works, but not in every case. */
    warning,
    /** The library cannot do its work. */
    failure,
};

struct Finding
{
    /** The part of the board that was looked at. */
    std::string area;
    Level level;
    std::string what;
    /** What to do about it; empty where nothing is to be done. */
    std::string advice;
};

/** What the doctor has found, in the order of looking. */
class Findings
{
  public:
    /** The part of the board that the next findings are about. */
    void area(const std::string& name);

    void ok(const std::string& what);

    /** @param what  was not looked at, and why; or why nothing was */
    void notChecked(const std::string& what);

    void warning(const std::string& what, const std::string& advice);
    void failure(const std::string& what, const std::string& advice);

    std::size_t count(Level level) const;

    /** How many failures and warnings there are, in words. */
    std::string summary() const;

    /** A table for people, a list of findings for programs. */
    Result asResult() const;

  private:
    std::string current;
    std::vector<Finding> all;
};
