// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/** How a program uses a library. */
struct LibraryUse
{
    /** Whether the library is loaded when the program is started. */
    bool isLinked = false;
    /** What the program wants of it, by mangled name. */
    std::vector<std::string> symbols;
};

/** Reads it from the sections of a program, or of a shared library.
 *
 *  @param soname       of the library
 *  @param isOfLibrary  whether a symbol with this mangled name belongs to it
 *
 *  @throw Failure  the file cannot be read, is not a program for this machine,
 *                  or is cut off or damaged
 */
LibraryUse readLibraryUse(const std::string& program, std::string_view soname,
                          bool (*isOfLibrary)(std::string_view symbol));
