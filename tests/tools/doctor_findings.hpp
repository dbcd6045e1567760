// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace test
{

using Wrong = std::vector<std::string>;

/** What is not in order of what the doctor found, as "level: what". */
inline Wrong wrongIn(const std::string& text)
{
    Wrong found;
    const auto value = nlohmann::json::parse(text);
    for (const auto& finding : value["result"]["findings"])
    {
        if (finding["level"] != "ok" && finding["level"] != "not_checked")
        {
            found.push_back(finding["level"].get<std::string>() + ": " +
                            finding["what"].get<std::string>());
            EXPECT_NE(finding["advice"], "");
        }
    }
    return found;
}

/** What the doctor has not checked, as "area: what". */
inline std::vector<std::string> notCheckedIn(const std::string& text)
{
    std::vector<std::string> found;
    const auto value = nlohmann::json::parse(text);
    for (const auto& finding : value["result"]["findings"])
    {
        if (finding["level"] == "not_checked")
        {
            found.push_back(finding["area"].get<std::string>() + ": " +
                            finding["what"].get<std::string>());
        }
    }
    return found;
}

} // namespace test
