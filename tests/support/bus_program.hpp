// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

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

    /** What the bus says, as an error's name and text, of a call to a name
     *  that nobody has.
     */
    virtual std::string absence(const std::string& service) const = 0;

    /** The same of a service that leaves without an answer. */
    virtual std::string desertion() const = 0;

    /** Where in a text it says that it forbids a call, which may name
     *  processes; nowhere: nothing.
     */
    virtual std::string_view refusalIn(std::string_view text) const = 0;

    /** Ends the program; every connection is lost. */
    virtual void kill() = 0;

  protected:
    BusProgram() = default;
};

/** dbus-daemon, listening at a socket "bus" in this directory. */
std::unique_ptr<BusProgram> startDbusDaemon(const std::string& directory);

/** dbus-broker, likewise. */
std::unique_ptr<BusProgram> startDbusBroker(const std::string& directory);

} // namespace test
