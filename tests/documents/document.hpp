// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/bytes.hpp"
#include "../support/process.hpp"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace test
{

/** The project's folder. */
inline std::filesystem::path sources()
{
    return fromEnvironment("WEXA_SOURCES");
}

inline std::string textOf(const std::string& file)
{
    return bytesOf(sources() / file);
}

/** The Markdown files, seen from the project's folder. */
inline std::vector<std::string> documents()
{
    std::vector<std::string> found;
    for (const auto* folder : {"", "docs"})
    {
        for (const auto& entry :
             std::filesystem::directory_iterator(sources() / folder))
        {
            if (entry.path().extension() == ".md")
            {
                found.push_back(
                    std::filesystem::relative(entry.path(), sources()));
            }
        }
    }
    std::ranges::sort(found);
    return found;
}

inline std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::string::size_type start = 0;
    while (start < text.size())
    {
        const auto end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

} // namespace test
