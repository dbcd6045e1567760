// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "call_site.hpp"

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

inline std::string signature(const std::string& operation)
{
    return out("int wexa::core::FWManagerInternal::" + operation +
               "(std::string, wexa::core::VersionPurpose, std::string)");
}

inline std::string uploadSignature(const std::string& operation)
{
    return out("std::map<std::__cxx11::basic_string<char>, "
               "std::__cxx11::basic_string<char> > "
               "wexa::core::FWManagerInternal::" +
               operation +
               "(std::string, "
               "wexa::core::FWManagerInternal::UPLOAD_IMG_TYPE, std::string)");
}

} // namespace test
