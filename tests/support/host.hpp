// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <string>

/** The host service, which knows the board, as the library must address it. */
namespace test::host
{

constexpr auto service = "com.WEXA.Host";
constexpr auto path = "/com/WEXA/Host";
constexpr auto interface = "org.freedesktop.DBus.Properties";

inline Method get(Reply reply)
{
    return {path, interface, "Get", std::move(reply)};
}

/** The call that asks for the board identifier, as sent. */
inline std::string call()
{
    return std::string(service) + ' ' + path + ' ' + interface +
           R"(.Get(ss) "com.WEXA.Host" "BoardId")";
}

} // namespace test::host
