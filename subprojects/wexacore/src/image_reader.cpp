// SPDX-License-Identifier: Apache-2.0
#include "image_reader.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>

namespace image
{

namespace
{

using HeaderBytes = std::array<unsigned char, headerSize>;

/** A file that is closed in the end. */
class File
{
  public:
    // Not blocking: a FIFO without a writer must not hold the reader up.
    explicit File(const char* path) :
        descriptor(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {}

    ~File()
    {
        if (descriptor >= 0)
        {
            close(descriptor);
        }
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /** The size in bytes; nothing where this is no regular file. */
    std::optional<std::uint64_t> size() const
    {
        struct stat status = {};
        if (descriptor < 0 || fstat(descriptor, &status) < 0 ||
            !S_ISREG(status.st_mode))
        {
            return {};
        }
        return static_cast<std::uint64_t>(status.st_size);
    }

    /** Fills `bytes`, whole, from where the last read ended. */
    bool fill(std::span<unsigned char> bytes) const
    {
        while (!bytes.empty())
        {
            const auto got = ::read(descriptor, bytes.data(), bytes.size());
            if (got < 0 && errno == EINTR)
            {
                continue;
            }
            if (got <= 0)
            {
                return false;
            }
            bytes = bytes.subspan(static_cast<std::size_t>(got));
        }
        return true;
    }

    std::optional<std::string> text(std::size_t length) const
    {
        std::string text(length, '\0');
        // Text is bytes here.
        const auto bytes = reinterpret_cast<unsigned char*>(text.data());
        if (!fill({bytes, length}) || !isPrintable(text))
        {
            return {};
        }
        return text;
    }

  private:
    int descriptor;
};

template <typename Integer>
Integer littleEndian(const HeaderBytes& header, std::size_t offset)
{
    Integer value = 0;
    for (std::size_t i = sizeof(Integer); i-- > 0;)
    {
        value = static_cast<Integer>(value << 8 | header[offset + i]);
    }
    return value;
}

bool isKnown(std::uint16_t kind, std::uint16_t capsuleKind)
{
    if (kind == static_cast<std::uint16_t>(Kind::capsule))
    {
        return capsuleKind >= 1 && capsuleKind <= capsuleKinds;
    }
    return kind >= static_cast<std::uint16_t>(Kind::bmc) &&
           kind <= static_cast<std::uint16_t>(Kind::cpld) && capsuleKind == 0;
}

std::optional<Header> readFile(const File& file)
{
    const auto size = file.size();
    HeaderBytes bytes;
    if (!size || !file.fill(bytes) ||
        !std::equal(magic.begin(), magic.end(), bytes.begin()) ||
        littleEndian<std::uint16_t>(bytes, offset::format) != format)
    {
        return {};
    }

    const auto kind = littleEndian<std::uint16_t>(bytes, offset::kind);
    const auto capsuleKind =
        littleEndian<std::uint16_t>(bytes, offset::capsuleKind);
    if (!isKnown(kind, capsuleKind))
    {
        return {};
    }

    // Each length is bounded before the sum is taken, which cannot overflow.
    const auto versionLength =
        littleEndian<std::uint16_t>(bytes, offset::versionLength);
    const auto dateLength =
        littleEndian<std::uint16_t>(bytes, offset::dateLength);
    const auto payloadLength =
        littleEndian<std::uint64_t>(bytes, offset::payloadLength);
    if (versionLength == 0 || versionLength > maxVersion ||
        dateLength > maxDate || payloadLength == 0 ||
        payloadLength > maxPayload ||
        *size != headerSize + versionLength + dateLength + payloadLength +
                     digestSize)
    {
        return {};
    }

    auto version = file.text(versionLength);
    auto date = file.text(dateLength);
    if (!version || !date)
    {
        return {};
    }
    return Header{static_cast<Kind>(kind), capsuleKind,
                  littleEndian<std::uint16_t>(bytes, offset::board),
                  std::move(*version), std::move(*date)};
}

} // namespace

std::optional<Header> read(const char* path) noexcept
{
    if (path == nullptr)
    {
        return {};
    }
    return readFile(File(path));
}

} // namespace image
