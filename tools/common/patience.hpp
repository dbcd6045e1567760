// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <chrono>

/** How long a service may take to answer a question that changes nothing. */
constexpr sdbusplus::SdBusDuration patience = std::chrono::seconds(5);
