// SPDX-License-Identifier: Apache-2.0
#include "log.hpp"

#include <ostream>

namespace wexa::core::log
{

static std::ostream& writeUnformatted(std::ostream& stream,
                                      std::string_view text)
{
    return stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void write(std::ostream& stream, std::string_view text)
{
    writeUnformatted(stream, text).flush();
}

void write(std::ostream& stream, fmt::string_view text, fmt::format_args args)
{
    write(stream, fmt::vformat(text, args));
}

void errorUnflushed(std::string_view text)
{
    writeUnformatted(std::cerr, text);
}

} // namespace wexa::core::log
