// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <iosfwd>
#include <iostream>
#include <string_view>

/** The library's log: whole lines, progress on standard output, errors on
 *  standard error. Each is flushed as it is written, except those of
 *  `errorUnflushed`.
 *
 *  Texts are bytes of the interface, newlines included. They are formatted by
 *  fmt and written unformatted, so that neither the streams' flags nor their
 *  locale, which are the daemon's, can change them; each in one piece, so that
 *  what others write to the same streams stays outside of it.
 */
namespace wexa::core::log
{

/** Writes the text, formatted where there are arguments, and flushes. */
void write(std::ostream& stream, std::string_view text);
void write(std::ostream& stream, fmt::string_view text, fmt::format_args args);

inline void progress(std::string_view text)
{
    write(std::cout, text);
}

template <typename First, typename... Args>
void progress(fmt::format_string<First, Args...> text, const First& first,
              const Args&... args)
{
    write(std::cout, text, fmt::make_format_args(first, args...));
}

inline void error(std::string_view text)
{
    write(std::cerr, text);
}

template <typename First, typename... Args>
void error(fmt::format_string<First, Args...> text, const First& first,
           const Args&... args)
{
    write(std::cerr, text, fmt::make_format_args(first, args...));
}

/** Writes an error text; it is not flushed. */
void errorUnflushed(std::string_view text);

} // namespace wexa::core::log
