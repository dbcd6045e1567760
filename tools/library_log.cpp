// SPDX-License-Identifier: Apache-2.0
#include "library_log.hpp"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <sstream>

/** Takes a stream's place until it is destroyed. */
class LibraryLog::Listener : public std::streambuf
{
  public:
    Listener(std::ostream& stream, bool passOn) :
        stream(stream), passOn(passOn), replaced(stream.rdbuf(this))
    {}

    ~Listener() override
    {
        stream.rdbuf(replaced);
    }

    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::vector<std::string> lines() const
    {
        std::vector<std::string> lines;
        std::istringstream text(heard);
        std::string line;
        while (std::getline(text, line))
        {
            lines.push_back(line);
        }
        return lines;
    }

  protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        heard.append(text, static_cast<std::size_t>(size));
        if (passOn)
        {
            std::fwrite(text, 1, static_cast<std::size_t>(size), stderr);
        }
        return size;
    }

    int_type overflow(int_type character) override
    {
        const auto byte = traits_type::to_char_type(character);
        xsputn(&byte, 1);
        return character;
    }

  private:
    std::ostream& stream;
    bool passOn;
    std::streambuf* replaced;
    std::string heard;
};

LibraryLog::LibraryLog(bool passOn) :
    out(std::make_unique<Listener>(std::cout, passOn)),
    err(std::make_unique<Listener>(std::cerr, passOn))
{}

LibraryLog::~LibraryLog() = default;

std::vector<std::string> LibraryLog::progress() const
{
    return out->lines();
}

std::vector<std::string> LibraryLog::errors() const
{
    return err->lines();
}

std::string LibraryLog::reason() const
{
    auto lines = errors();
    // A no of the security manager is logged as progress.
    if (const auto said = progress();
        !said.empty() &&
        (said.back() == "Verify false" || said.back() == "Verify failed"))
    {
        lines.insert(lines.begin(), said.back());
    }
    std::string reason;
    for (const auto& line : lines)
    {
        reason += (reason.empty() ? "" : "; ") + line;
    }
    return reason;
}

bool LibraryLog::tellsOfAFailedCall() const
{
    return std::ranges::any_of(errors(), [](const auto& line) {
        return line.starts_with("Error in ") ||
               line.starts_with("ERROR !! Failed to prepare CPLD ") ||
               line.starts_with("boardID is mismatch: ");
    });
}

bool LibraryLog::tellsOfAnotherBoard() const
{
    return std::ranges::any_of(errors(), [](const auto& line) {
        return line == "boardID is mismatch";
    });
}
