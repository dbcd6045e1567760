// SPDX-License-Identifier: Apache-2.0
#include "control.hpp"

#include "bus_name.hpp"

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
    throw sdbus::Error(control::refusal, error.what());
}

Control::Control(Board& board, const std::string& busAddress) :
    bus(sdbus::createSessionBusConnectionWithAddress(busAddress)),
    object(sdbus::createObject(*bus, control::path))
{
    object->registerMethod("Set")
        .onInterface(control::interface)
        .implementedAs(
            [&board](const std::string& what, const std::string& value) {
                return orRefusal([&] { board.set(what, value); });
            });
    object->registerMethod("State")
        .onInterface(control::interface)
        .implementedAs([&board] {
            // A path and a flashed file may hold bytes that are not UTF-8.
            return orRefusal([&] {
                return board.state().dump(
                    -1, ' ', true, nlohmann::json::error_handler_t::replace);
            });
        });
    object->finishRegistration();
    takeName(*bus, control::service);
}

} // namespace bmcsim
