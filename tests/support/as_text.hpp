// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <string>

namespace test
{

/** Results as text: a map as "{key: value, ...}", a property by the number of
 *  its alternative and its value.
 */
std::string asText(int result);
std::string asText(bool result);
std::string asText(const std::string& result);
std::string asText(const wexa::core::UploadResult& result);
std::string asText(const wexa::core::PropertyMap& result);
std::string asText(const wexa::core::CpldComponentMap& result);

} // namespace test
