// SPDX-License-Identifier: Apache-2.0
#include "flash_writer.hpp"

#include "child.hpp"
#include "flash_job.hpp"
#include "flash_settings.hpp"
#include "image_check.hpp"

#include <fcntl.h>
#include <plain.hpp>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace bmcsim
{

static std::string contentsOf(const std::string& path)
{
    struct stat status = {};
    checked(stat(path.c_str(), &status), path);
    if (!S_ISREG(status.st_mode))
    {
        throw std::runtime_error(path + " is not a file");
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (!file || (status.st_size > 0 && !(bytes << file.rdbuf())))
    {
        fail(path);
    }
    return bytes.str();
}

/** The open file that stands for a flash partition. */
class Partition
{
  public:
    explicit Partition(const std::string& path) :
        path(path),
        file(checked(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600),
                     path))
    {}

    ~Partition()
    {
        close(file);
    }

    Partition(const Partition&) = delete;
    Partition& operator=(const Partition&) = delete;

    void write(std::string_view bytes) const
    {
        while (!bytes.empty())
        {
            bytes.remove_prefix(static_cast<std::size_t>(
                checked(::write(file, bytes.data(), bytes.size()), path)));
        }
    }

    void finish(std::size_t size) const
    {
        checked(ftruncate(file, static_cast<off_t>(size)), path);
        checked(fsync(file), path);
    }

  private:
    std::string path;
    int file;
};

/** What the set behaviour does when half of the image is written. */
static void misbehave(const std::string& behaviour)
{
    if (behaviour == "fail")
    {
        throw std::runtime_error("told to fail when half is written");
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

static void writeInPieces(const Partition& partition, std::string image,
                          const FlashSettings& settings)
{
    constexpr std::size_t pieces = 20;
    if (settings.behaviour == "corrupt" && !image.empty())
    {
        image.front() = static_cast<char>(image.front() ^ 1);
    }
    const auto size = image.size() / pieces + 1;
    for (std::size_t piece = 0; piece < pieces; ++piece)
    {
        if (piece == pieces / 2)
        {
            misbehave(settings.behaviour);
        }
        const auto from = std::min(piece * size, image.size());
        partition.write(std::string_view(image).substr(from, size));
        std::this_thread::sleep_for(settings.time / pieces);
    }
    partition.finish(image.size());
}

int writeFlash(const PrivateDirectory& directory, const std::string& instance)
try
{
    const auto job = FlashJob::from(instance);
    const auto settings = FlashSettings::read(directory);
    const auto image = contentsOf(imageFileOf(job.imagePath));
    const auto path = (directory.flash() / job.partition).string();
    writeInPieces(Partition(path), image, settings);
    if (contentsOf(path) != image)
    {
        throw std::runtime_error(path + " does not hold what was written");
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
