// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace bmcsim
{

/** Which of its members a service offers: fewer than all, as an old one. */
class OfferedMembers
{
  public:
    /** @param name  what the simulator's users call the choice
     *  @param all   names; all are chosen at the start
     */
    OfferedMembers(std::string name, std::vector<std::string> all);

    /** @param list  separated by commas; may be empty
     *  @throw std::invalid_argument  names the possible values
     */
    void choose(const std::string& list);

    const std::string& name() const
    {
        return setting;
    }

    const std::vector<std::string>& chosen() const
    {
        return now;
    }

    /** As `choose` takes it. */
    std::string asText() const;

  private:
    std::string setting;
    std::vector<std::string> all;
    std::vector<std::string> now;
};

} // namespace bmcsim
