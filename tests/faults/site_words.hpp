// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/as_text.hpp"
#include "../support/signatures.hpp"
#include "call_site.hpp"
#include "site_images.hpp"

/** Words in which call sites are told. */
namespace test
{

using Manager = wexa::core::FWManagerInternal;
using Events = std::vector<std::string>;
using wexa::core::VersionPurpose;

/** Appends values of basic types. */
template <typename... Values>
inline auto values(const char* types, Values... contents)
{
    return [=](sd_bus_message* reply) {
        check(sd_bus_message_append(reply, types, contents...), "append");
    };
}

inline Events operator+(Events events, const Events& more)
{
    events.insert(events.end(), more.begin(), more.end());
    return events;
}

/** Longer than any buffer. */
inline const std::string mebibyte(std::size_t{1} << 20, 'x');

/** A text with another in place of its first "{}". */
inline std::string filled(std::string text, const std::string& with)
{
    const std::string place = "{}";
    if (const auto at = text.find(place); at != std::string::npos)
    {
        text.replace(at, place.size(), with);
    }
    return text;
}

inline Events filled(Events events, const std::string& with)
{
    for (auto& event : events)
    {
        event = filled(event, with);
    }
    return events;
}

} // namespace test
