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

/** Makes sure that a flash unit will be given this very path: a unit's name
 *  carries it with every "/" turned into "-" and nothing else escaped.
 *
 *  @param unit  the name of the flash unit
 *  @throw Failure  it cannot; says which character or length is in the way
 */
void requireFaithfulUnit(const std::string& imagePath, const std::string& unit);

/** The same for the name of a component, which the unit's name carries too. */
void requireFaithfulComponent(const std::string& component);
