// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace bmcsim
{

/** Makes sure that a name is among the known ones.
 *
 *  @param what  it is the name of, in words
 *  @return the name
 *  @throw std::invalid_argument  it is not; names the known ones
 */
std::string chosenFrom(const std::vector<std::string>& known,
                       const std::string& name, const std::string& what);

/** The same for a list of names with commas between them, each once; may be
 *  empty.
 */
std::vector<std::string> allChosenFrom(const std::vector<std::string>& known,
                                       const std::string& list,
                                       const std::string& what);

/** Puts a list together, with commas. */
std::string joined(const std::vector<std::string>& names);

} // namespace bmcsim
