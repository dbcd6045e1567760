// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/** Texts of others, such as names, versions and errors from the bus, paths and
 *  arguments, as they may be written to a terminal.
 *
 *  Control characters, bytes that are not UTF-8, and characters that turn the
 *  direction of writing or end a line are written as \xNN (a byte) or \uNNNN
 *  (a character). A backslash stands as it is, so that names of units, which
 *  hold \x20, can be copied; so a plain text stays the same if it is made plain
 *  once more. A program does this where text leaves it.
 */
namespace plain
{

/** A text on one line: newlines are escaped, too.
 *
 *  A text of several lines that holds foreign pieces is built of pieces that
 *  went through this, since its newlines cannot be told apart later.
 */
std::string line(std::string_view text);

/** A text of whole lines: newlines stay. */
std::string lines(std::string_view text);

/** What stands in the first column of a table, and what in the second. */
using Row = std::pair<std::string, std::string>;

/** The rows as lines. The first column is as wide as its widest text and two
 *  blanks, each character taken for as wide as a letter. An empty second text
 *  leaves no blanks behind.
 */
std::string table(const std::vector<Row>& rows);

/** Whether a text is UTF-8, as all text on a D-Bus must be. */
bool isUtf8(std::string_view text);

} // namespace plain
