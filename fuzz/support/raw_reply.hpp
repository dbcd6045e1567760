// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/scripted_service.hpp"

#include <string>

namespace fuzz
{

/** A reply as no honest service sends it: signature and body as they are. */
struct RawMessage
{
    std::string signature;
    std::string body;
    bool bigEndian = false;
    bool isError = false;
};

/** Answers with it. If the caller's sd-bus drops it for its header, an error
 *  follows, so that the caller does not wait.
 */
test::Reply rawReply(RawMessage message);

/** Answers with bytes that need be no message, and hangs up. */
test::Reply junk(std::string bytes);

} // namespace fuzz
