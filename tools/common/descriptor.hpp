// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

/** An open file, closed with the object. */
class Descriptor
{
  public:
    /** @param number  negative where the file could not be opened */
    explicit Descriptor(int number) : file(number) {}

    ~Descriptor()
    {
        if (isOpen())
        {
            close(file);
        }
    }

    Descriptor(Descriptor&& other) noexcept :
        file(std::exchange(other.file, -1))
    {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;

    bool isOpen() const
    {
        return file >= 0;
    }

    int number() const
    {
        return file;
    }

  private:
    int file;
};
