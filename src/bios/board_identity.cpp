// SPDX-License-Identifier: Apache-2.0
#include "../common/core_library.hpp"
#include "../common/log.hpp"
#include "remote_property.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <cstdint>

namespace wexa::core
{

bool FWManagerInternal::compare_boardID(std::string imagePath)
{
    // The host service wants its bus name where an interface is asked for.
    auto call = newGetCall(bus, "com.WEXA.Host", "/com/WEXA/Host",
                           "com.WEXA.Host", "BoardId");

    std::uint16_t hostBoard = 0;
    try
    {
        hostBoard = propertyFrom<std::uint16_t>(bus, call);
    }
    catch (const RemoteError& failure)
    {
        log::error("boardID is mismatch: {}\n", failure.what());
        return false;
    }

    // Compared as int: a value that says "could not be read" is outside of
    // the 16 bits of a board identifier, and matches no board.
    if (get_bios_board_id(imagePath.data()) != int{hostBoard})
    {
        log::errorUnflushed("boardID is mismatch\n");
        return false;
    }
    return true;
}

} // namespace wexa::core
