// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library.hpp"
#include "library_log.hpp"

#include <sdbusplus/bus.hpp>

#include <string>

/** Makes sure that an image whose kind tells a board is made for this one.
 *
 *  @throw Failure  imageRefused: the image is for another board, or for no
 *                  board; says which boards they are.
 *                  callFailed: the host service does not tell this board's
 *                  identifier, or tells it in another type
 */
void requireThisBoard(sdbusplus::bus_t& bus, FirmwareKind::Manager& manager,
                      const std::string& image, bool verbose);

/** Makes sure that an image for board 0 is not taken for this board's just
 *  because the host tells its identifier in another type, which the library
 *  reads as 0. Costs nothing for images that are for other boards.
 *
 *  @throw Failure  callFailed: the host tells it in another type
 */
void requireNoMistakeForBoard0(sdbusplus::bus_t& bus, std::string image);

/** Why the library refused an image after it had compared the boards.
 *
 *  @param log  of that comparison
 */
Failure boardMismatch(sdbusplus::bus_t& bus, const std::string& image,
                      const LibraryLog& log);
