// SPDX-License-Identifier: Apache-2.0
#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

FWManagerInternal::FWManagerInternal(sdbusplus::bus_t& bus) : bus(bus) {}

} // namespace wexa::core
