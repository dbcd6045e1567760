// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace bmcsim
{

/** Says on standard error what is wrong.
 *
 *  @param what  one line or several; foreign pieces of several are plain
 */
void complain(const std::string& what);

} // namespace bmcsim
