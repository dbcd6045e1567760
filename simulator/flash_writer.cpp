// SPDX-License-Identifier: Apache-2.0
#include "flash_writer.hpp"

#include "child.hpp"
#include "descriptor.hpp"
#include "flash_job.hpp"
#include "flash_settings.hpp"
#include "image_check.hpp"

#include <fcntl.h>
#include <openssl/evp.h>
#include <plain.hpp>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace bmcsim
{

/** The SHA-256 digest of bytes that come in pieces. */
class Digest
{
  public:
    using Value = std::array<unsigned char, 32>;

    Digest()
    {
        EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
    }

    void add(std::string_view bytes)
    {
        EVP_DigestUpdate(context.get(), bytes.data(), bytes.size());
    }

    Value value()
    {
        Value bytes{};
        EVP_DigestFinal_ex(context.get(), bytes.data(), nullptr);
        return bytes;
    }

  private:
    struct Free
    {
        void operator()(EVP_MD_CTX* made) const
        {
            EVP_MD_CTX_free(made);
        }
    };

    std::unique_ptr<EVP_MD_CTX, Free> context{EVP_MD_CTX_new()};
};

/** A regular file that is read from its beginning. */
class Source
{
  public:
    explicit Source(const std::string& path) :
        path(path), file(checked(open(path.c_str(), O_RDONLY | O_CLOEXEC |
                                                        O_NONBLOCK | O_NOCTTY),
                                 path))
    {
        struct stat status = {};
        checked(fstat(file.get(), &status), path);
        if (!S_ISREG(status.st_mode))
        {
            throw std::runtime_error(path + " is not a file");
        }
        left = static_cast<std::size_t>(status.st_size);
    }

    /** The bytes that were there at the beginning and are not read yet. */
    std::size_t size() const
    {
        return left;
    }

    /** The next bytes, at most `most`; valid until the next call. */
    std::string_view next(std::size_t most)
    {
        const auto wanted = std::min({most, left, block.size()});
        const auto got = checked(read(file.get(), block.data(), wanted), path);
        if (got == 0 && wanted > 0)
        {
            throw std::runtime_error(path + " became shorter");
        }
        left -= static_cast<std::size_t>(got);
        return {block.data(), static_cast<std::size_t>(got)};
    }

  private:
    std::string path;
    Descriptor file;
    std::size_t left = 0;
    std::array<char, 65536> block;
};

static Digest::Value digestOf(Source file)
{
    Digest digest;
    while (file.size() > 0)
    {
        digest.add(file.next(file.size()));
    }
    return digest.value();
}

/** The open file that stands for a flash partition. */
class Partition
{
  public:
    /** @param isCorrupt  it keeps one bit wrong */
    Partition(const std::string& path, bool isCorrupt) :
        path(path), isCorrupt(isCorrupt),
        file(checked(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600),
                     path))
    {}

    void write(std::string_view bytes)
    {
        written += bytes.size();
        while (!bytes.empty())
        {
            bytes.remove_prefix(static_cast<std::size_t>(checked(
                ::write(file.get(), bytes.data(), bytes.size()), path)));
        }
    }

    /** Cuts off what an earlier, larger image left. */
    void finish() const
    {
        checked(ftruncate(file.get(), static_cast<off_t>(written)), path);
        if (isCorrupt && written > 0)
        {
            spoilFirstByte();
        }
        checked(fsync(file.get()), path);
    }

  private:
    void spoilFirstByte() const
    {
        char first = 0;
        checked(pread(file.get(), &first, 1, 0), path);
        first = static_cast<char>(first ^ 1);
        checked(pwrite(file.get(), &first, 1, 0), path);
    }

    std::string path;
    bool isCorrupt;
    Descriptor file;
    std::size_t written = 0;
};

/** What the set behaviour does when half of the image is written. */
static void misbehave(const std::string& behaviour, const FlashJob& job)
{
    if (behaviour == "fail")
    {
        throw std::runtime_error("the write to " + job.partition +
                                 " failed when half was written");
    }
    if (behaviour == "crash")
    {
        raise(SIGKILL);
    }
    while (behaviour == "hang")
    {
        pause();
    }
}

/** Writes in pieces over the set time; returns the image's digest. */
static Digest::Value writeInPieces(Source& image, Partition& partition,
                                   const FlashSettings& settings,
                                   const FlashJob& job)
{
    constexpr std::size_t pieces = 20;
    const auto size = image.size() / pieces + 1;
    Digest digest;
    for (std::size_t piece = 0; piece < pieces; ++piece)
    {
        if (piece == pieces / 2)
        {
            misbehave(settings.behaviour, job);
        }
        for (auto left = std::min(size, image.size()); left > 0;)
        {
            const auto bytes = image.next(left);
            digest.add(bytes);
            partition.write(bytes);
            left -= bytes.size();
        }
        std::this_thread::sleep_for(settings.time / pieces);
    }
    partition.finish();
    return digest.value();
}

/** systemd runs this program among mounts of its own, which hide folders of
 *  the host. The simulated BMC's first process sees what its users see.
 */
static void leaveMountsOfTheManager()
{
    if (std::getenv("WEXA_BMCSIM_MOUNTS") != nullptr)
    {
        checked(chroot("/proc/1/root"), "cannot see the images");
        checked(chdir("/"), "/");
    }
}

int writeFlash(const PrivateDirectory& directory, const std::string& instance)
try
{
    leaveMountsOfTheManager();
    const auto job = FlashJob::from(instance);
    const auto settings = FlashSettings::read(directory);
    Source image(imageFileOf(job.imagePath));
    const auto path = (directory.flash() / job.partition).string();
    Partition partition(path, settings.behaviour == "corrupt");
    const auto digest = writeInPieces(image, partition, settings, job);
    if (digestOf(Source(path)) != digest)
    {
        throw std::runtime_error(job.partition +
                                 " does not hold what was written");
    }
    std::cout << plain::line("flash: " + job.imagePath + " is written to " +
                             job.partition)
              << std::endl;
    return EXIT_SUCCESS;
}

catch (const std::exception& error)
{
    std::cerr << plain::line("flash: " + instance + ": " + error.what())
              << std::endl;
    return EXIT_FAILURE;
}

} // namespace bmcsim
