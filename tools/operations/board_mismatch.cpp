// SPDX-License-Identifier: Apache-2.0
#include "board_mismatch.hpp"

#include "../common/patience.hpp"
#include "core_library.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <limits>
#include <variant>

static std::string imageInWords(std::string image)
{
    const auto board = wexa::core::get_bios_board_id(image.data());
    return board >= 0 && board <= std::numeric_limits<std::uint16_t>::max()
               ? "the image is for board " + std::to_string(board)
               : "the image tells no board";
}

static std::string hostInWords(sdbusplus::bus::bus& bus)
{
    try
    {
        auto call =
            bus.new_method_call("com.WEXA.Host", "/com/WEXA/Host",
                                "org.freedesktop.DBus.Properties", "Get");
        call.append("com.WEXA.Host", "BoardId");
        // A value of any other type is read as an empty string.
        std::variant<std::string, std::uint16_t> board;
        bus.call(call, patience).read(board);
        if (const auto* identifier = std::get_if<std::uint16_t>(&board))
        {
            return "this is board " + std::to_string(*identifier);
        }
        return "the host service tells this board's identifier in a type that "
               "is not 'q', which counts as board 0";
    }
    catch (const sdbusplus::exception::exception&)
    {
        return "the host service does not tell this board's identifier";
    }
}

std::string boardsInWords(sdbusplus::bus::bus& bus, std::string image)
{
    return imageInWords(std::move(image)) + ", " + hostInWords(bus);
}
