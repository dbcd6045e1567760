// SPDX-License-Identifier: Apache-2.0
#include "findings.hpp"

#include <plain.hpp>

#include <algorithm>
#include <iomanip>
#include <sstream>

void Findings::area(const std::string& name)
{
    current = name;
}

void Findings::ok(const std::string& what)
{
    all.push_back({current, Level::ok, what, ""});
}

void Findings::notChecked(const std::string& what)
{
    all.push_back({current, Level::notChecked, "not checked: " + what, ""});
}

void Findings::warning(const std::string& what, const std::string& advice)
{
    all.push_back({current, Level::warning, what, advice});
}

void Findings::failure(const std::string& what, const std::string& advice)
{
    all.push_back({current, Level::failure, what, advice});
}

std::size_t Findings::count(Level level) const
{
    return static_cast<std::size_t>(
        std::ranges::count(all, level, &Finding::level));
}

static std::string counted(std::size_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string Findings::summary() const
{
    return counted(count(Level::failure), "failure") + ", " +
           counted(count(Level::warning), "warning");
}

static const char* nameOf(Level level)
{
    switch (level)
    {
        case Level::ok:
            return "ok";
        case Level::notChecked:
            return "not_checked";
        case Level::warning:
            return "warning";
        case Level::failure:
            break;
    }
    return "failure";
}

static const char* headingOf(Level level)
{
    switch (level)
    {
        case Level::ok:
            return "OK";
        case Level::notChecked:
            return "SKIPPED";
        case Level::warning:
            return "WARNING";
        case Level::failure:
            break;
    }
    return "FAILURE";
}

Result Findings::asResult() const
{
    auto list = nlohmann::json::array();
    std::ostringstream table;
    std::string shown;
    for (const auto& [area, level, what, advice] : all)
    {
        list.push_back({{"area", area},
                        {"level", nameOf(level)},
                        {"what", what},
                        {"advice", advice}});
        if (area != shown)
        {
            table << plain::line(area) << '\n';
            shown = area;
        }
        table << "  " << std::left << std::setw(9) << headingOf(level)
              << plain::line(what) << '\n';
        if (!advice.empty())
        {
            table << "           -> " << plain::line(advice) << '\n';
        }
    }
    const auto ready = count(Level::failure) == 0;
    return {{{"ready", ready}, {"findings", list}}, table.str()};
}
