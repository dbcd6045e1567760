// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace bmcsim
{

/** A file descriptor, closed with the object; -1 for none. */
class Descriptor
{
  public:
    Descriptor() = default;

    explicit Descriptor(int file) : file(file) {}

    Descriptor(Descriptor&& other) noexcept :
        file(std::exchange(other.file, -1))
    {}

    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(file, other.file);
        return *this;
    }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor()
    {
        if (file >= 0)
        {
            close(file);
        }
    }

    int get() const
    {
        return file;
    }

    explicit operator bool() const
    {
        return file >= 0;
    }

  private:
    int file = -1;
};

} // namespace bmcsim
