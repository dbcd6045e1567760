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

/** While it exists, calls of `member` throw std::runtime_error("from below")
 *  instead of being made.
 */
class ThrowingCall
{
  public:
    explicit ThrowingCall(std::string member);
    ~ThrowingCall();

    ThrowingCall(const ThrowingCall&) = delete;
    ThrowingCall& operator=(const ThrowingCall&) = delete;
};

} // namespace test
