// SPDX-License-Identifier: Apache-2.0
#include "host.hpp"

#include <charconv>
#include <stdexcept>

namespace bmcsim
{

Host::Host(const std::string& busAddress) :
    Service("host", "com.WEXA.Host", busAddress)
{
    changed();
}

void Host::changed()
{
    // The type of a property is part of the object: a new one has another.
    object.reset();
    object = sdbus::createObject(ownConnection(), "/com/WEXA/Host");
    const auto isText = behaviour() == Behaviour::wrongType;
    object->registerProperty("com.WEXA.Host", "BoardId", isText ? "s" : "q",
                             [this, isText](sdbus::PropertyGetReply& reply) {
                                 count("Get");
                                 answerErrorIfTold();
                                 if (isText)
                                 {
                                     reply << std::to_string(board);
                                 }
                                 else
                                 {
                                     reply << board;
                                 }
                             });
    object->finishRegistration();
}

void Host::set(const std::string&, const std::string& value)
{
    const auto* const end = value.data() + value.size();
    std::uint16_t given = 0;
    const auto [rest, error] = std::from_chars(value.data(), end, given);
    if (error != std::errc{} || rest != end)
    {
        throw std::invalid_argument("'" + value +
                                    "' is no board identifier from 0 to "
                                    "65535");
    }
    board = given;
}

std::map<std::string, std::string> Host::values() const
{
    return {{"board-id", std::to_string(board)}};
}

} // namespace bmcsim
