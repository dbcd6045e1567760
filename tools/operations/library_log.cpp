// SPDX-License-Identifier: Apache-2.0
#include "library_log.hpp"

#include "../common/dbus_error.hpp"
#include "log_lines.hpp"

#include <plain.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>

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
        return heard;
    }

  protected:
    /** The library writes each line in one piece. What stands in it may be
     *  others': a newline inside does not make two lines of it.
     */
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        if (isAtBeginning)
        {
            heard.emplace_back();
        }
        auto& line = heard.back();
        line.append(text, static_cast<std::size_t>(size));
        isAtBeginning = line.ends_with('\n');
        if (isAtBeginning)
        {
            line.pop_back();
            passOnIfWanted(line);
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
    void passOnIfWanted(const std::string& line) const
    {
        if (passOn)
        {
            std::fprintf(stderr, "%s\n", plain::line(line).c_str());
        }
    }

    std::ostream& stream;
    bool passOn;
    bool isAtBeginning = true;
    std::streambuf* replaced;
    std::vector<std::string> heard;
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

std::vector<std::string> LibraryLog::linesOfFailure() const
{
    auto lines = err->lines();
    // The library logs it as progress if the service refuses an image.
    if (const auto said = progress();
        !said.empty() && explanationOf(said.back()) != nullptr)
    {
        lines.insert(lines.begin(), said.back());
    }
    return lines;
}

/** The explanation of the line that tells why an operation failed. */
static const LogLine* causeAmong(const std::vector<std::string>& lines)
{
    for (const auto& line : lines)
    {
        if (const auto* const found = explanationOf(line);
            found != nullptr && (found->meaning == Meaning::refusal ||
                                 found->meaning == Meaning::failedCall ||
                                 found->meaning == Meaning::notRecorded))
        {
            return found;
        }
    }
    return nullptr;
}

Reason LibraryLog::reason() const
{
    Reason reason;
    reason.library = linesOfFailure();
    if (const auto* const cause = causeAmong(reason.library))
    {
        reason.step = cause->step;
        reason.hint = cause->hint;
    }
    if (tellsOfAFailedCall())
    {
        for (const auto& line : reason.library)
        {
            const auto name = dbusErrorIn(line);
            reason.dbusError = name.empty() ? reason.dbusError : name;
        }
        reason.hint = hintFor(reason.dbusError, reason.hint);
    }
    return reason;
}

std::string LibraryLog::dbusErrorOf(const std::string& text) const
{
    const auto lines = err->lines();
    const auto found = std::ranges::find_if(lines, [&](const auto& line) {
        return line.find(text) != std::string::npos;
    });
    return found == lines.end() ? "" : dbusErrorIn(*found);
}

bool LibraryLog::tellsOfAFailedCall() const
{
    const auto* const cause = causeAmong(linesOfFailure());
    return cause != nullptr && cause->meaning != Meaning::refusal;
}

bool LibraryLog::tellsOfAnUnrecordedVersion() const
{
    const auto* const cause = causeAmong(linesOfFailure());
    return cause != nullptr && cause->meaning == Meaning::notRecorded;
}

bool LibraryLog::tellsOfBoards() const
{
    return std::ranges::any_of(err->lines(), [](const auto& line) {
        return line.starts_with("boardID is mismatch");
    });
}
