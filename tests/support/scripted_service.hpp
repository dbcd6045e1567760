// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_bus.hpp"
#include "transcript.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace test
{

/** Answers a method call, or leaves it unanswered. */
using Reply = std::function<void(sd_bus_message* call)>;

namespace reply
{

/** One boolean; a string; an object path; no value. */
Reply boolean(bool value);
Reply text(std::string value);
Reply objectPath(std::string value);
Reply nothing();

/** A variant that holds a string, or a number of 16 or 32 bits. */
Reply textVariant(std::string value);
Reply shortVariant(std::uint16_t value);
Reply numberVariant(std::uint32_t value);

/** A boolean with a string behind it. */
Reply booleanAndText(bool value, std::string more);

/** What `append` puts into the reply. */
Reply built(std::function<void(sd_bus_message* reply)> append);

/** A D-Bus error. */
Reply error(std::string name, std::string text);

/** Never an answer. */
Reply silence();

/** The service leaves the bus instead of answering. */
Reply hangUp();

} // namespace reply

/** A method that a service offers. */
struct Method
{
    std::string path;
    std::string interface;
    std::string member;
    Reply reply;
};

/** A service on a thread of its own that answers as it is told.
 *
 *  Each call of an offered method is noted in the transcript as
 *  "call: MEMBER"; sd-bus answers all others as for any service.
 */
class ScriptedService
{
  public:
    ScriptedService(const PrivateBus& bus, Transcript& transcript,
                    const std::string& name, std::vector<Method> methods);
    ~ScriptedService();

    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

  private:
    static int dispatch(sd_bus_message* call, void* service, sd_bus_error*);
    void serve();

    Connection connection;
    Transcript& transcript;
    std::string name;
    std::vector<Method> methods;
    int stop;
    std::thread thread;
};

} // namespace test
