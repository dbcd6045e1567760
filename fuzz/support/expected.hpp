// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plain_reader.hpp"

#include <optional>
#include <string>

/** How operations must end, told from what plain sd-bus reads of the same
 *  answers.
 */
namespace fuzz
{

/** Of what a service judged. */
std::string verdict(std::optional<bool> authentic);

std::string verdictOfDevice(PlainReader& reader, const std::string& component);

std::string imageInfo(PlainReader& reader, const std::string& component);

std::string components(PlainReader& reader);

} // namespace fuzz
