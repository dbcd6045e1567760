// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>

/** What a verb found or did, for programs and for people. */
struct Result
{
    nlohmann::json data;
    /** Whole lines; may be none. */
    std::string text;
};
