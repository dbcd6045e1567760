// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "temporary_directory.hpp"

#include <string>
#include <vector>

namespace test
{

/** Image files, made by wexa-mkimage. */
class Images
{
  public:
    /** Makes an image and returns its path.
     *
     *  @param options  of wexa-mkimage, such as {"--kind", "bmc"}
     */
    std::string make(const std::string& name,
                     const std::vector<std::string>& options) const;

    /** A sound BMC image. */
    std::string bmc(const std::string& version) const
    {
        return make("bmc", {"--kind", "bmc", "--version", version, "--force"});
    }

    /** The path of a file that does not exist. */
    std::string missing() const
    {
        return directory.file("missing");
    }

    std::string folder() const
    {
        return directory.path();
    }

  private:
    TemporaryDirectory directory;
};

} // namespace test
