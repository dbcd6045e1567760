// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/exception.hpp>

namespace sdbusplus::details
{

/** What sd-bus returned, or SdBusError that names the step if it is negative.
 */
inline int checked(int result, const char* step)
{
    if (result < 0)
    {
        throw exception::SdBusError(-result, step);
    }
    return result;
}

} // namespace sdbusplus::details
