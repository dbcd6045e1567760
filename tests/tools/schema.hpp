// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace test
{

/** What a text has that docs/wexa-fwmgr.schema.json does not allow; empty where
 *  it is one JSON value that the schema describes.
 */
std::string violationsIn(const std::string& text);

} // namespace test
