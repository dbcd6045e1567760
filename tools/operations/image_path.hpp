// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The path of an image as services and flash units can use it.
 *
 *  @param given           as the user typed it
 *  @param mayBeDirectory  whether a directory that holds the image will do
 *  @return absolute, since services have working directories of their own
 *  @throw Failure  there is no readable file; says what to do
 */
std::string usableImage(const std::string& given, bool mayBeDirectory);
