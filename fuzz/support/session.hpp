// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/transcript.hpp"
#include "operations.hpp"
#include "platform.hpp"
#include "target.hpp"

#include <sdbusplus/bus.hpp>

#include <string>

namespace fuzz
{

/** The library on a platform that gives the answers. Each operation must end
 *  as its row says, call what its row says, and log lines that the documents
 *  explain.
 */
class Session
{
  public:
    explicit Session(Answers answers);

    /** Other answers from now on. */
    void setAnswers(Answers answers);

    /** Whether a service never answers. */
    static bool someAreSilent();

    /** @return its result, or what was thrown */
    std::string run(const Operation& operation, const Arguments& given);

    std::string run(const std::string& name, const Arguments& given)
    {
        return run(operationNamed(name), given);
    }

    /** The calls that the last operation made. */
    const Calls& calls() const
    {
        return made;
    }

    /** Hands a finished job's signal to the operation of each kind, which must
     *  read what plain sd-bus reads, and know the unit that was launched.
     *
     *  @return the outcome, or what was thrown
     */
    std::string finish(sd_bus_message* signal);

    /** The same of a unit.
     *
     *  @return empty where the name is not UTF-8: no message can hold it
     */
    std::string finish(const std::string& unit, const std::string& result);

    /** The unit that was launched last. */
    const std::string& launched() const
    {
        return unit;
    }

    /** A finished job's signal, to be filled and sealed. */
    test::Message newJobRemoved() const;

  private:
    test::Transcript transcript;
    Platform platform;
    sdbusplus::bus_t connection{platform.bus()};
    Library library{connection};
    std::string unit;
    Calls made;
};

} // namespace fuzz
