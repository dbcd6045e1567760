// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

namespace object_path_of_any_release
{
// The namespace of object_path depends on the release of sdbusplus.
using namespace sdbusplus;
using namespace sdbusplus::message;
using Type = object_path;
} // namespace object_path_of_any_release

/** D-Bus type "o". */
using ObjectPath = object_path_of_any_release::Type;
