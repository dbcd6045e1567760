// SPDX-License-Identifier: Apache-2.0
#include "transcript.hpp"

#include <iostream>
#include <utility>

namespace test
{

/** Takes a stream's place until it is destroyed. */
class Transcript::Recorder : public std::streambuf
{
  public:
    Recorder(Transcript& transcript, std::ostream& stream, std::string label) :
        transcript(transcript), stream(stream), label(std::move(label)),
        flags(stream.flags()), tied(stream.tie(nullptr)),
        replaced(stream.rdbuf(this))
    {
        // Otherwise every write to std::cerr would look flushed.
        stream.unsetf(std::ios::unitbuf);
    }

    ~Recorder() override
    {
        stream.rdbuf(replaced);
        stream.tie(tied);
        stream.flags(flags);
    }

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    std::string takeUnflushed()
    {
        return std::exchange(pending, {});
    }

  protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        pending.append(text, static_cast<std::size_t>(size));
        return size;
    }

    int_type overflow(int_type character) override
    {
        pending.push_back(traits_type::to_char_type(character));
        return character;
    }

    int sync() override
    {
        if (!pending.empty())
        {
            transcript.note(label + ": " + std::exchange(pending, {}));
        }
        return 0;
    }

  private:
    Transcript& transcript;
    std::ostream& stream;
    std::string label;
    std::string pending;
    std::ios::fmtflags flags;
    std::ostream* tied;
    std::streambuf* replaced;
};

Transcript::Transcript() :
    out(std::make_unique<Recorder>(*this, std::cout, "out")),
    err(std::make_unique<Recorder>(*this, std::cerr, "err"))
{}

Transcript::~Transcript() = default;

void Transcript::note(std::string event)
{
    const std::lock_guard lock(mutex);
    happened.push_back(std::move(event));
}

std::vector<std::string> Transcript::events()
{
    for (const auto& [label, recorder] :
         {std::pair("out", out.get()), std::pair("err", err.get())})
    {
        if (auto text = recorder->takeUnflushed(); !text.empty())
        {
            note(std::string(label) + ", not flushed: " + text);
        }
    }
    const std::lock_guard lock(mutex);
    return std::exchange(happened, {});
}

std::string out(const std::string& line)
{
    return "out: " + line + '\n';
}

std::string err(const std::string& line)
{
    return "err: " + line + '\n';
}

std::string errNotFlushed(const std::string& text)
{
    return "err, not flushed: " + text;
}

} // namespace test
