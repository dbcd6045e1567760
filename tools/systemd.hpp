// SPDX-License-Identifier: Apache-2.0
#pragma once

/** systemd's manager, as the tool asks it. */
namespace systemd
{

constexpr auto service = "org.freedesktop.systemd1";
constexpr auto path = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

} // namespace systemd
