// SPDX-License-Identifier: Apache-2.0
#include "image_writer.hpp"

#include <openssl/evp.h>

#include <stdexcept>

namespace image
{

template <typename Integer>
static void put(std::string& image, std::size_t offset, Integer value)
{
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
    {
        image[offset + i] = static_cast<char>(value >> 8 * i & 0xff);
    }
}

static std::string sha256(std::string_view bytes)
{
    std::string digest(digestSize, '\0');
    if (EVP_Digest(bytes.data(), bytes.size(),
                   reinterpret_cast<unsigned char*>(digest.data()), nullptr,
                   EVP_sha256(), nullptr) != 1)
    {
        throw std::runtime_error("libcrypto offers no SHA-256");
    }
    return digest;
}

/** Replaces the digest after the bytes that it covers were changed. */
static std::string resealed(std::string image)
{
    image.resize(image.size() - digestSize);
    return image + sha256(image);
}

std::string bytes(const Contents& contents)
{
    std::string image(headerSize, '\0');
    image.replace(offset::magic, magic.size(), magic);
    put(image, offset::format, format);
    put(image, offset::kind, static_cast<std::uint16_t>(contents.kind));
    put(image, offset::capsuleKind, contents.capsuleKind);
    put(image, offset::board, contents.board);
    put(image, offset::versionLength,
        static_cast<std::uint16_t>(contents.version.size()));
    put(image, offset::dateLength,
        static_cast<std::uint16_t>(contents.date.size()));
    put(image, offset::payloadLength,
        static_cast<std::uint64_t>(contents.payload.size()));
    image += contents.version + contents.date + contents.payload;
    return image + sha256(image);
}

static std::string withoutVersion(std::string image)
{
    const auto length =
        static_cast<unsigned char>(image[offset::versionLength]);
    put(image, offset::versionLength, std::uint16_t{0});
    image.erase(headerSize, length);
    return resealed(std::move(image));
}

std::string broken(std::string image, Fault fault)
{
    switch (fault)
    {
        case Fault::empty:
            return {};
        case Fault::headerOnly:
            return image.substr(0, headerSize);
        case Fault::truncated:
            return image.substr(0, image.size() - digestSize - 1);
        case Fault::trailing:
            return image + "more";
        case Fault::magic:
            image[offset::magic] = 'w';
            return resealed(std::move(image));
        case Fault::unknownKind:
            put(image, offset::kind, std::uint16_t{0xffff});
            return resealed(std::move(image));
        case Fault::noVersion:
            return withoutVersion(std::move(image));
        case Fault::unprintableVersion:
            image[headerSize] = '\n';
            return resealed(std::move(image));
        case Fault::versionLength:
            put(image, offset::versionLength, std::uint16_t{0xffff});
            return resealed(std::move(image));
        case Fault::payloadLength:
            put(image, offset::payloadLength, ~std::uint64_t{0});
            return resealed(std::move(image));
        case Fault::digest:
            image.back() = static_cast<char>(image.back() ^ 1);
            return image;
    }
    throw std::logic_error("unheard-of fault");
}

std::string digestText(const std::string& image)
{
    constexpr auto digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : image.substr(image.size() - digestSize))
    {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace image
