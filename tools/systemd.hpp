// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <chrono>

/** systemd's manager, as the tool asks it. */
namespace systemd
{

constexpr auto service = "org.freedesktop.systemd1";
constexpr auto path = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

/** How long it may take to answer a question that changes nothing. */
constexpr sdbusplus::SdBusDuration patience = std::chrono::seconds(5);

} // namespace systemd
