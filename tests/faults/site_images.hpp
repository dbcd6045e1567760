// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace test
{

/** The image files that the operations above are given, once they are made. */
void makeImages();
const std::string& bmcImage();
const std::string& biosImage();
const std::string& capsuleImage();
constexpr auto cpldImage = "/dev/null";

} // namespace test
