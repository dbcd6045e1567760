// SPDX-License-Identifier: Apache-2.0
#include "control.hpp"

#include <stdexcept>

namespace bmcsim
{

/** What `action` returns; what it throws is told to the caller. */
template <typename Action>
static auto orRefusal(Action&& action)
try
{
    return action();
}

catch (const std::exception& error)
{
    throw dbus::Error(control::refusal, error.what());
}

static dbus::Interface<Board> members()
{
    dbus::Interface<Board> members(control::interface);
    members.method("Set", "ss", "", [](Board& board, dbus::Call& call) {
        const auto what = call.read<std::string>();
        const auto value = call.read<std::string>();
        orRefusal([&] { board.set(what, value); });
        call.reply();
    });
    members.method("State", "", "s", [](const Board& board, dbus::Call& call) {
        // A path and a flashed file may hold bytes that are not UTF-8.
        call.reply(orRefusal([&] {
            return board.state().dump(-1, ' ', true,
                                      nlohmann::json::error_handler_t::replace);
        }));
    });
    return members;
}

Control::Control(Board& board, const std::string& busAddress) :
    bus(busAddress), object(bus, control::path, members(), board)
{
    bus.takeName(control::service);
}

} // namespace bmcsim
