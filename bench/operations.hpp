// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "peers/peer.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <functional>
#include <string>
#include <vector>

namespace bench
{

/** An operation of the library, and the calls that it makes. */
struct Operation
{
    std::string name;

    /** Remote calls; 0: a received message is read. */
    int calls;

    /** How many CPLDs are bound meanwhile. */
    int devices;

    /** Throws when the operation fails. */
    std::function<void()> library;

    /** The same calls; throws when one fails. */
    std::function<void(Peer&)> same;
};

/** All operations.
 *
 *  @param image  a file that exists
 */
std::vector<Operation> operationsOf(wexa::core::FWManagerInternal& manager,
                                    sd_bus* bus, const std::string& image);

} // namespace bench
