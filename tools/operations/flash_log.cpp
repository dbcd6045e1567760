// SPDX-License-Identifier: Apache-2.0
#include "flash_log.hpp"

#include <systemd/sd-journal.h>

#include <algorithm>
#include <array>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string_view>

constexpr std::size_t mostLines = 5;
constexpr std::size_t mostBytes = 4096;

static std::string messageOf(sd_journal* journal)
{
    constexpr std::string_view field = "MESSAGE=";
    const void* data = nullptr;
    std::size_t size = 0;
    if (sd_journal_get_data(journal, "MESSAGE", &data, &size) < 0)
    {
        return {};
    }
    const std::string_view text(static_cast<const char*>(data), size);
    return std::string(text.substr(field.size(), mostBytes));
}

/** @return unset where no journal can be read */
static std::optional<std::vector<std::string>>
journalLines(const std::string& invocation)
{
    sd_journal* opened = nullptr;
    if (sd_journal_open(&opened, SD_JOURNAL_LOCAL_ONLY) < 0)
    {
        return {};
    }
    const std::unique_ptr<sd_journal, decltype(&sd_journal_close)> journal(
        opened, sd_journal_close);
    // A journal without files can be opened.
    if (sd_journal_has_runtime_files(opened) <= 0 &&
        sd_journal_has_persistent_files(opened) <= 0)
    {
        return {};
    }
    const auto match = "_SYSTEMD_INVOCATION_ID=" + invocation;
    if (sd_journal_add_match(opened, match.c_str(), 0) < 0 ||
        sd_journal_seek_tail(opened) < 0)
    {
        return {};
    }
    std::vector<std::string> lines;
    while (lines.size() < mostLines && sd_journal_previous(opened) > 0)
    {
        lines.push_back(messageOf(opened));
    }
    std::ranges::reverse(lines);
    return lines;
}

/** Where the template sends the output, if to a file. */
static std::string outputFileOf(const std::string& fragment)
{
    constexpr std::array<std::string_view, 3> settings{
        "StandardOutput=append:", "StandardOutput=file:",
        "StandardOutput=truncate:"};
    std::ifstream file(fragment);
    std::string path;
    for (std::string line; std::getline(file, line);)
    {
        for (const auto setting : settings)
        {
            if (line.starts_with(setting))
            {
                path = line.substr(setting.size());
            }
        }
    }
    return path;
}

std::uintmax_t logSizeOf(const UnitState& state)
{
    std::error_code missing;
    const auto size =
        std::filesystem::file_size(outputFileOf(state.fragment), missing);
    return missing ? 0 : size;
}

/** The lines after the first `sizeBefore` bytes. A file that is shorter now was
 *  truncated: then all its lines count.
 */
static FlashLog fileLines(const std::string& path, std::uintmax_t sizeBefore)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    std::ifstream file;
    if (!error)
    {
        file.open(path);
    }
    if (!file.is_open())
    {
        return {{}, path + ", which has the output, cannot be read"};
    }
    const auto begin = sizeBefore <= size ? sizeBefore : 0;
    file.seekg(static_cast<std::streamoff>(
        std::max(begin, size - std::min<std::uintmax_t>(size, mostBytes))));
    std::deque<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        lines.push_back(line);
        if (lines.size() > mostLines)
        {
            lines.pop_front();
        }
    }
    return {{lines.begin(), lines.end()}, ""};
}

FlashLog logOf(const UnitState& state, std::uintmax_t sizeBefore)
{
    const auto journal = journalLines(state.invocation);
    if (journal && !journal->empty())
    {
        return {*journal, ""};
    }
    const auto path = outputFileOf(state.fragment);
    if (!path.empty())
    {
        return fileLines(path, sizeBefore);
    }
    return {{},
            journal ? ""
                    : "no journal can be read, and " + state.fragment +
                          " sends the output to no file"};
}
