// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform.hpp"

namespace fuzz
{

/** A registry that holds MB_CPLD, at /mb. */
inline Answer oneBoundDevice()
{
    return {test::reply::built([](sd_bus_message* reply) {
        sd_bus_message_append(reply, "a{s(ssa{sv})}", 1, "MB_CPLD", "/mb",
                              "jtag", 0);
    })};
}

} // namespace fuzz
