// SPDX-License-Identifier: Apache-2.0
#include "images.hpp"

#include "process.hpp"

#include <stdexcept>

namespace test
{

std::string Images::make(const std::string& name,
                         const std::vector<std::string>& options) const
{
    std::vector<std::string> command{fromEnvironment("WEXA_MKIMAGE")};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(directory.file(name));

    const auto made = run(command);
    if (made.status != 0)
    {
        throw std::runtime_error(made.err);
    }
    return directory.file(name);
}

} // namespace test
