// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace bmcsim::dbus
{

/** An error as D-Bus carries it: a name, and a text, which is `what`. */
class Error : public std::runtime_error
{
  public:
    Error(std::string name, const std::string& text) :
        std::runtime_error(text), errorName(std::move(name))
    {}

    const std::string& name() const
    {
        return errorName;
    }

  private:
    std::string errorName;
};

/** What sd-bus returned, unless it is a negative errno.
 *
 *  @throw Error  the errno's, as sd-bus names it; its text begins with `what`
 */
int require(int result, const char* what);

} // namespace bmcsim::dbus
