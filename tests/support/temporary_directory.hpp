// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace test
{

/** A directory of the test's own, gone with the object. */
class TemporaryDirectory
{
  public:
    explicit TemporaryDirectory(const std::filesystem::path& parent =
                                    std::filesystem::temp_directory_path()) :
        where(make(parent))
    {}

    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(where, ignored);
    }

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const
    {
        return where;
    }

    std::string file(const std::string& name) const
    {
        return where / name;
    }

  private:
    static std::filesystem::path make(const std::filesystem::path& parent)
    {
        // No "-" in the name: flash unit names cannot carry it.
        std::string name = parent / "fwmgr.XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a directory like " + name);
        }
        return name;
    }

    std::filesystem::path where;
};

} // namespace test
