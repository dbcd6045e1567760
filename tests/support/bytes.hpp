// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace test
{

/** The bytes of a file. */
inline std::string bytesOf(const std::string& path)
{
    std::ostringstream bytes;
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("no file " + path);
    }
    bytes << file.rdbuf();
    return bytes.str();
}

/** Makes a file of these bytes, or gives one these bytes. */
inline void writeBytes(const std::string& path, const std::string& bytes)
{
    if (!(std::ofstream(path, std::ios::binary) << bytes << std::flush))
    {
        throw std::runtime_error("cannot write " + path);
    }
}

} // namespace test
