// SPDX-License-Identifier: Apache-2.0
#include "image_check.hpp"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <set>
#include <string_view>

// The file format is described in docs/image-format.md. This reader is a
// second one on purpose: the judge does not share the code of the judged.

namespace bmcsim
{

namespace
{

constexpr std::uint64_t headerSize = 32;
constexpr std::uint64_t digestSize = 32;
constexpr std::uint64_t maxPayload = 268435456;
constexpr std::uint64_t maxSize =
    headerSize + 255 + 63 + maxPayload + digestSize;

std::optional<std::string> readBytes(int file, std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t filled = 0; filled < size;)
    {
        const auto got = read(file, bytes.data() + filled, size - filled);
        if (got <= 0)
        {
            return {};
        }
        filled += static_cast<std::size_t>(got);
    }
    return bytes;
}

/** The bytes of a regular file of a size that an image may have. */
std::optional<std::string> bytesOf(const std::string& path)
{
    const auto file =
        open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
    {
        return {};
    }
    std::optional<std::string> bytes;
    struct stat status = {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        static_cast<std::uint64_t>(status.st_size) >= headerSize + digestSize &&
        static_cast<std::uint64_t>(status.st_size) <= maxSize)
    {
        bytes = readBytes(file, static_cast<std::size_t>(status.st_size));
    }
    close(file);
    return bytes;
}

std::uint64_t number(std::string_view bytes, std::size_t at, std::size_t size)
{
    std::uint64_t value = 0;
    while (size-- > 0)
    {
        value = value << 8 | static_cast<unsigned char>(bytes[at + size]);
    }
    return value;
}

bool digestIsRight(std::string_view bytes)
{
    const auto covered = bytes.substr(0, bytes.size() - digestSize);
    std::array<unsigned char, digestSize> digest{};
    EVP_Digest(covered.data(), covered.size(), digest.data(), nullptr,
               EVP_sha256(), nullptr);
    return bytes.substr(covered.size()) ==
           std::string_view(reinterpret_cast<const char*>(digest.data()),
                            digest.size());
}

} // namespace

std::optional<Image> examine(const std::string& path)
{
    const auto bytes = bytesOf(path);
    if (!bytes || !bytes->starts_with("WEXAFWIM") || number(*bytes, 8, 2) != 1)
    {
        return {};
    }
    const auto version = number(*bytes, 16, 2);
    const auto date = number(*bytes, 18, 2);
    const auto payload = number(*bytes, 24, 8);
    if (version == 0 || version > 255 || date > 63 || payload == 0 ||
        payload > maxPayload ||
        bytes->size() != headerSize + version + date + payload + digestSize)
    {
        return {};
    }
    return Image{static_cast<std::uint16_t>(number(*bytes, 10, 2)),
                 static_cast<std::uint16_t>(number(*bytes, 14, 2)),
                 bytes->substr(headerSize, version), digestIsRight(*bytes)};
}

std::optional<Image> authenticate(const std::string& path)
{
    auto image = examine(path);
    return image && image->authentic ? image : std::nullopt;
}

std::string imageFileOf(const std::string& path)
{
    std::set<std::string> found;
    std::error_code noDirectory;
    for (const auto& entry :
         std::filesystem::directory_iterator(path, noDirectory))
    {
        if (entry.path().filename().string().find("image_cpld_signed") !=
            std::string::npos)
        {
            found.insert(entry.path());
        }
    }
    return found.empty() ? path : *found.begin();
}

} // namespace bmcsim
