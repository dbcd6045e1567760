// SPDX-License-Identifier: Apache-2.0
#include "board_identity.hpp"

#include "../common/dbus_error.hpp"
#include "../common/told_value.hpp"
#include "library.hpp"

#include <sdbusplus/exception.hpp>

#include <cstdint>
#include <limits>

constexpr auto readingThisBoard = "reading the identifier of this board";
constexpr auto expectedType = "q";

static std::string imageInWords(const std::string& image)
{
    const auto board = library().boardOf(image);
    return board >= 0 && board <= std::numeric_limits<std::uint16_t>::max()
               ? "the image is for board " + std::to_string(board)
               : "the image tells no board";
}

static Failure notCompared(const std::string& image, Reason reason)
{
    reason.step = readingThisBoard;
    return {ExitStatus::callFailed,
            image + ": could not be compared with this board",
            std::move(reason)};
}

static ToldValue thisBoard(sdbusplus::bus_t& bus, const std::string& image)
{
    try
    {
        return propertyAt(bus,
                          {"com.WEXA.Host", "/com/WEXA/Host", "com.WEXA.Host"},
                          "BoardId");
    }
    catch (const sdbusplus::exception_t& error)
    {
        throw notCompared(image, {"", {}, error.name(), hintFor(error.name())});
    }
}

/** The library reads an identifier of another type as 0. */
static void requireExpectedType(const std::string& image,
                                const ToldValue& board,
                                const std::vector<std::string>& library)
{
    if (board.type != expectedType)
    {
        throw notCompared(image, {"", library, "",
                                  "com.WEXA.Host tells a BoardId " +
                                      anotherTypeInWords(board, expectedType) +
                                      ": update the host service"});
    }
}

void requireThisBoard(sdbusplus::bus_t& bus, FirmwareKind::Manager& manager,
                      const std::string& image, bool verbose)
{
    const LibraryLog log(verbose);
    if (!(manager.*library().compareBoardId)(image))
    {
        throw boardMismatch(bus, image, log);
    }
    requireExpectedType(image, thisBoard(bus, image), {});
}

void requireNoMistakeForBoard0(sdbusplus::bus_t& bus, std::string image)
{
    if (library().boardOf(image) == 0)
    {
        requireExpectedType(image, thisBoard(bus, image), {});
    }
}

Failure boardMismatch(sdbusplus::bus_t& bus, const std::string& image,
                      const LibraryLog& log)
{
    auto reason = log.reason();
    if (log.tellsOfAFailedCall())
    {
        return notCompared(image, reason);
    }
    const auto board = thisBoard(bus, image);
    requireExpectedType(image, board, reason.library);
    reason.hint +=
        " (" + imageInWords(image) + ", this is board " + board.text + ")";
    return {ExitStatus::imageRefused, image + ": is not for this board",
            reason};
}
