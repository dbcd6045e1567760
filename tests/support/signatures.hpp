// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transcript.hpp"

#include <string>

namespace test
{

/** The line with which verifications and CPLD updates begin. */
inline std::string signature(const std::string& operation)
{
    return out("int wexa::core::FWManagerInternal::" + operation +
               "(std::string, wexa::core::VersionPurpose, std::string)");
}

/** The line with which uploads begin. */
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
