// SPDX-License-Identifier: Apache-2.0
#include "site_images.hpp"

#include "../support/images.hpp"

namespace test
{

static const Images& images()
{
    static const Images made;
    return made;
}

static std::string pathOf(const char* name)
{
    return images().folder() + '/' + name;
}

const std::string& bmcImage()
{
    static const auto path = pathOf("bmc");
    return path;
}

const std::string& biosImage()
{
    static const auto path = pathOf("bios");
    return path;
}

const std::string& capsuleImage()
{
    static const auto path = pathOf("capsule");
    return path;
}

void makeImages()
{
    images().bmc("1.0");
    images().make("bios", {"--kind", "bios", "--version", "1.4b", "--date",
                           "03/15/2024", "--board", "7", "--force"});
    images().make("capsule",
                  {"--kind", "capsule", "--version", "2.0", "--force"});
}

} // namespace test
