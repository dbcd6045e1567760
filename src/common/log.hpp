// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <iosfwd>
#include <iostream>
#include <string_view>

/** The library's log: whole lines, progress on standard output, errors on
 *  standard error, each flushed as it is written.
 *
 *  Texts are bytes of the interface. They are formatted by fmt and written
 *  unformatted, so that neither the streams' flags nor their locale, which
 *  are the daemon's, can change them.
 */
namespace wexa::core::log
{

/** Writes the formatted text and a newline, and flushes. */
void line(std::ostream& stream, fmt::string_view text, fmt::format_args args);

template <typename... Args>
void progress(fmt::format_string<Args...> text, const Args&... args)
{
    line(std::cout, text, fmt::make_format_args(args...));
}

template <typename... Args>
void error(fmt::format_string<Args...> text, const Args&... args)
{
    line(std::cerr, text, fmt::make_format_args(args...));
}

/** Writes an error text that brings its own newline; it is not flushed. */
void errorAsIs(std::string_view text);

} // namespace wexa::core::log
