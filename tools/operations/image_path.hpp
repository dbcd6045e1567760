// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

#include <string>

/** The path of an image as services and flash units can use it.
 *
 *  @param given  as the user typed it
 *  @param kind   of firmware
 *  @return absolute, since services have working directories of their own
 *  @throw Failure  there is no readable file, or D-Bus cannot carry its path;
 *                  says what to do
 */
std::string usableImage(const std::string& given, const std::string& kind);

/** Makes sure that the library finds the signed image, whose version it reads,
 *  where the image is a directory. Devices and flash programs look on their
 * own.
 *
 *  @throw Failure  it does not; says what to do
 */
void requireSignedImage(const std::string& image);

/** Warns where `update` would refuse an image for its path or its component,
 *  which other verbs can do with.
 *
 *  @param image  as `usableImage` returned it
 */
void warnOfUpdate(const Request& request, const std::string& image);
