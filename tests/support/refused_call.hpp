// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace test
{

/** While it exists, sd-bus creates no method call to `service`, as if the
 *  connection had never been started. In programs that link it; one at a
 *  time.
 */
class RefusedCall
{
  public:
    explicit RefusedCall(std::string service);
    ~RefusedCall();

    RefusedCall(const RefusedCall&) = delete;
    RefusedCall& operator=(const RefusedCall&) = delete;
};

} // namespace test
