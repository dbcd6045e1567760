// SPDX-License-Identifier: Apache-2.0
#include "host.hpp"

#include <charconv>
#include <stdexcept>

namespace bmcsim
{

constexpr auto property = "BoardId";

Host::Host(const std::string& busAddress) :
    Service("host", "com.WEXA.Host", busAddress)
{
    changed();
}

void Host::changed()
{
    const auto told = [](Host& host) {
        host.count("Get");
        host.answerErrorIfTold();
        return host.board;
    };
    dbus::Interface<Host> interface("com.WEXA.Host");
    if (behaviour() == Behaviour::wrongType)
    {
        interface.property(property, dbus::Changes::told, [told](Host& host) {
            return std::to_string(told(host));
        });
    }
    else
    {
        interface.property(property, dbus::Changes::told, told);
    }
    object.reset();
    object.emplace(connection(), "/com/WEXA/Host", std::move(interface), *this);
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
