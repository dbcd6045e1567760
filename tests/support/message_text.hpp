// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <string>

namespace test
{

/** A method call as text, whole:
 *  `destination path interface.member(signature) arguments`, strings in
 *  double quotes, a variant as `<type: value>`.
 */
std::string callText(sd_bus_message* call);

} // namespace test
