// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace test
{

/** While it exists, sd-bus creates no method call of `member`, as if the
 *  connection had never been started. In programs that link it; one at a
 *  time.
 */
class RefusedCall
{
  public:
    explicit RefusedCall(std::string member);
    ~RefusedCall();

    RefusedCall(const RefusedCall&) = delete;
    RefusedCall& operator=(const RefusedCall&) = delete;
};

/** While it exists, `action` runs before a call of `member` is sent; what it
 *  throws comes out of the call, which is then not made.
 */
class BeforeCall
{
  public:
    BeforeCall(std::string member, std::function<void()> action);
    ~BeforeCall();

    BeforeCall(const BeforeCall&) = delete;
    BeforeCall& operator=(const BeforeCall&) = delete;
};

/** While it exists, calls of `member` throw std::runtime_error("from below")
 *  instead of being made.
 */
class ThrowingCall
{
  public:
    explicit ThrowingCall(std::string member) :
        disturbance(std::move(member),
                    [] { throw std::runtime_error("from below"); })
    {}

  private:
    BeforeCall disturbance;
};

} // namespace test
