// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

/** The program that a private bus runs on, killed with the object. Everything
 *  is allowed on its bus until a service is refused.
 */
class BusProgram
{
  public:
    virtual ~BusProgram() = default;
    BusProgram(const BusProgram&) = delete;
    BusProgram& operator=(const BusProgram&) = delete;

    /** Forbids all method calls to the service of this name; none where it
     *  is empty.
     */
    virtual void refuse(const std::string& service) = 0;

    /** The error, its name and text, of a call to a name without an owner. */
    virtual std::string serviceUnknown(const std::string& service) const = 0;

    /** The same of a service that leaves without an answer. */
    virtual std::string noReply() const = 0;

    /** The error of a call that is forbidden, which may name processes, as it
     *  stands in a text; empty where it does not.
     */
    virtual std::string_view accessDeniedIn(std::string_view text) const = 0;

    /** Ends the program; every connection is lost. */
    virtual void kill() = 0;

  protected:
    BusProgram() = default;
};

/** dbus-daemon, listening at a socket "bus" in this directory. */
std::unique_ptr<BusProgram> startDbusDaemon(const std::string& directory);

/** dbus-broker, likewise. */
std::unique_ptr<BusProgram> startDbusBroker(const std::string& directory);

/** The names of these programs, dbus-broker's where it is installed. */
std::vector<std::string> busPrograms();

} // namespace test
