// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../src/cpld/registry.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace bench
{

using wexa::core::CpldDeviceMap;
using wexa::core::PropertyMap;
using wexa::core::RemoteMethod;

/** A D-Bus library, used directly to make the calls that the library's
 *  operations make. Every call waits for its reply, reads it and throws where
 *  it fails. What is read ends in the same containers everywhere.
 */
class Peer
{
  public:
    Peer() = default;
    virtual ~Peer() = default;

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /** `s` -> `b` */
    virtual bool judge(const RemoteMethod& method, const char* image) = 0;

    /** nothing -> `s` */
    virtual std::string text(const RemoteMethod& method) = 0;

    /** `ss` -> `v` of `q`: reads the property that the member names. */
    virtual std::uint16_t getNumber(const RemoteMethod& property) = 0;

    /** `ss` -> `v` of `s` */
    virtual std::string getText(const RemoteMethod& property) = 0;

    /** `ssv` of `s` -> nothing */
    virtual void setText(const RemoteMethod& property, const char* value) = 0;

    /** `ss` -> `o`, which is not read: the library does not read it either. */
    virtual void start(const char* unit) = 0;

    /** `s` -> `a{sv}` */
    virtual PropertyMap properties(const RemoteMethod& method,
                                   const char* image) = 0;

    /** nothing -> `a{s(ssa{sv})}` */
    virtual CpldDeviceMap devices() = 0;
};

/** Over a connection that is the caller's. */
std::unique_ptr<Peer> plainSdBus(sd_bus* bus);
std::unique_ptr<Peer> sdbusplusDirectly(sd_bus* bus);

/** Over a connection of their own. */
std::unique_ptr<Peer> gdbus(const std::string& busAddress);
std::unique_ptr<Peer> libdbus(const std::string& busAddress);

/** A process per call; for operations of a single call only. */
std::unique_ptr<Peer> busctl(const std::string& busAddress);

constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";

/** The methods that are the same in every use. */
constexpr RemoteMethod startUnit{
    "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
    "org.freedesktop.systemd1.Manager", "StartUnit"};

inline RemoteMethod boundDevices()
{
    return {wexa::core::cpldUpdateMgrService.c_str(),
            wexa::core::cpldUpdateMgrPath.c_str(),
            wexa::core::cpldUpdateMgrInterface.c_str(), "bindedDevices"};
}

} // namespace bench
