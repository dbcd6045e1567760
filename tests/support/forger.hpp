// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

struct sd_bus_message;

namespace test
{

/** A signal as its sender wishes it to be. */
struct ForgedSignal
{
    std::string path;
    std::string interface;
    std::string member;
    std::function<void(sd_bus_message*)> append;
};

/** JobRemoved of systemd's manager. */
ForgedSignal forgedJobRemoved(const std::string& unit,
                              const std::string& result);

/** JobNew of systemd's manager. */
ForgedSignal forgedJobNew(const std::string& unit);

/** NameOwnerChanged of the bus: a name goes from one owner to another. */
ForgedSignal forgedNameOwnerChanged(const std::string& name,
                                    const std::string& before,
                                    const std::string& after);

/** PropertiesChanged of a unit of systemd: it is inactive. */
ForgedSignal forgedPropertiesChanged(const std::string& unit);

/** The same signal with a body that is a single number. */
ForgedSignal malformed(ForgedSignal signal);

/** Sends each signal to every connection of a bus by its unique name, as a
 *  user who is not root; returns when the bus has them all.
 *
 *  The bus must let every user in, and that user must reach its socket.
 */
void forge(const std::string& busAddress,
           const std::vector<ForgedSignal>& signals);

} // namespace test
