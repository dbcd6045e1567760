// SPDX-License-Identifier: Apache-2.0
#include "../../src/common/core_library.hpp"
#include "../../tests/support/as_text.hpp"
#include "../../tests/support/private_bus.hpp"
#include "../support/target.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <optional>
#include <utility>

// The stand-in core library reads files of any bytes and any size, into buffers
// of any size, as a reader over memory does.

namespace
{

struct Image
{
    unsigned kind = 0;
    unsigned capsuleKind = 0;
    unsigned board = 0;
    std::string version;
    std::string date;
};

/** Little-endian. */
std::uint64_t numberAt(std::string_view bytes, std::size_t at, int size)
{
    std::uint64_t value = 0;
    while (size-- > 0)
    {
        value = value * 256 +
                static_cast<unsigned char>(bytes[at + std::size_t(size)]);
    }
    return value;
}

bool isPrintable(const std::string& text)
{
    for (const auto byte : text)
    {
        if (byte < 0x20 || byte > 0x7e)
        {
            return false;
        }
    }
    return true;
}

bool isOfAKind(const Image& image)
{
    return image.kind == 3
               ? image.capsuleKind >= 1 && image.capsuleKind <= 3
               : image.kind >= 1 && image.kind <= 4 && image.capsuleKind == 0;
}

/** @param bytes  of a file that goes on with zeros up to `size` bytes */
std::optional<Image> parsed(std::string bytes, std::uint64_t size)
{
    constexpr std::size_t longest = 32 + 255 + 63;
    bytes.resize(std::min<std::uint64_t>(size, longest));
    if (size < 32 || bytes.substr(0, 8) != "WEXAFWIM" ||
        numberAt(bytes, 8, 2) != 1)
    {
        return {};
    }
    const auto versionLength = numberAt(bytes, 16, 2);
    const auto dateLength = numberAt(bytes, 18, 2);
    const auto payloadLength = numberAt(bytes, 24, 8);
    constexpr std::uint64_t mostPayload = 268'435'456;
    if (versionLength < 1 || versionLength > 255 || dateLength > 63 ||
        payloadLength < 1 || payloadLength > mostPayload ||
        size - payloadLength != 64 + versionLength + dateLength)
    {
        return {};
    }
    const Image image{static_cast<unsigned>(numberAt(bytes, 10, 2)),
                      static_cast<unsigned>(numberAt(bytes, 12, 2)),
                      static_cast<unsigned>(numberAt(bytes, 14, 2)),
                      bytes.substr(32, versionLength),
                      bytes.substr(32 + versionLength, dateLength)};
    if (!isOfAKind(image) || !isPrintable(image.version + image.date))
    {
        return {};
    }
    return image;
}

/** A file in memory. */
class MemoryFile
{
  public:
    MemoryFile(const std::string& bytes, std::uint64_t size) :
        descriptor(memfd_create("image", MFD_CLOEXEC)),
        path("/proc/self/fd/" + std::to_string(descriptor))
    {
        const auto written = write(descriptor, bytes.data(), bytes.size());
        test::check(static_cast<int>(written), "write");
        test::check(ftruncate(descriptor, static_cast<off_t>(size)), "size");
    }

    ~MemoryFile()
    {
        close(descriptor);
    }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    char* name()
    {
        return path.data();
    }

  private:
    int descriptor;
    std::string path;
};

/** What a buffer holds into which a text was copied, or nothing was. */
std::string filled(std::size_t size, const std::optional<std::string>& text)
{
    std::string buffer(size, '#');
    if (text)
    {
        const auto cut = text->substr(0, size - 1) + '\0';
        buffer.replace(0, cut.size(), cut);
    }
    return buffer;
}

void compareBiosVersion(MemoryFile& file, const std::optional<Image>& image,
                        std::size_t versionSize, std::size_t dateSize)
{
    const auto isBios = image && image->kind == 2;
    const auto isUsable = versionSize > 0 && dateSize > 0;
    const auto reads = isBios && isUsable;
    auto version = filled(versionSize, {});
    auto date = filled(dateSize, {});
    const auto result = wexa::core::get_bios_version_from_image(
        file.name(), version.data(), static_cast<int>(versionSize), date.data(),
        static_cast<int>(dateSize));
    using Text = std::optional<std::string>;
    fuzz::requireSame("BIOS result",
                      test::asText(!isUsable ? -22
                                   : isBios  ? 0
                                             : -5),
                      test::asText(result));
    fuzz::requireSame(
        "BIOS version",
        filled(versionSize, reads ? Text(image->version) : std::nullopt),
        version);
    fuzz::requireSame(
        "BIOS date", filled(dateSize, reads ? Text(image->date) : std::nullopt),
        date);
}

void compareCapsuleVersion(MemoryFile& file, const std::optional<Image>& image,
                           std::size_t size, int kind)
{
    const auto isIt =
        image && image->kind == 3 && std::cmp_equal(image->capsuleKind, kind);
    auto version = filled(size, {});
    const auto result = wexa::core::get_capsule_version_from_image(
        file.name(), version.data(), static_cast<int>(size), kind);
    fuzz::requireSame("capsule result",
                      test::asText(size == 0 ? -22
                                   : isIt    ? 0
                                             : -5),
                      test::asText(result));
    fuzz::requireSame("capsule version",
                      filled(size, isIt && size > 0
                                       ? std::optional(image->version)
                                       : std::nullopt),
                      version);
}

void run(fuzz::Input input)
{
    const auto versionSize = input.below(72);
    const auto dateSize = input.below(72);
    const auto capsuleKind = static_cast<int>(input.below(5));
    const auto more = input.below(4) == 0 ? input.number<std::uint32_t>() : 0;
    const auto bytes = input.rest();
    const auto size = bytes.size() + more;

    MemoryFile file(bytes, size);
    const auto image = parsed(bytes, size);
    const auto kind = image ? image->kind : 0;
    fuzz::requireSame(
        "BMC version", kind == 1 ? image->version : "",
        wexa::core::get_bmc_version_string_from_image(file.name()));
    fuzz::requireSame(
        "kind of capsule",
        test::asText(image ? static_cast<int>(image->capsuleKind) : -5),
        test::asText(wexa::core::check_bios_seamless_capsule(file.name())));
    fuzz::requireSame(
        "board", test::asText(kind == 2 ? static_cast<int>(image->board) : -1),
        test::asText(wexa::core::get_bios_board_id(file.name())));
    compareBiosVersion(file, image, versionSize, dateSize);
    compareCapsuleVersion(file, image, versionSize, capsuleKind);
}

const fuzz::Target target("image_reader", run);

} // namespace
