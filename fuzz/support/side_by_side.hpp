// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/transcript.hpp"
#include "../reference/reference.hpp"
#include "platform.hpp"
#include "target.hpp"

#include <sdbusplus/bus.hpp>

#include <string>

namespace fuzz
{

/** The library and the reference, each with a platform of its own that gives
 *  the same answers. They must do the same: end in the same way, log the same
 *  bytes, and make the same calls in the same order.
 */
class SideBySide
{
  public:
    explicit SideBySide(Answers answers);

    /** Other answers from now on. */
    void setAnswers(Answers answers);

    /** Whether a service never answers. */
    static bool someAreSilent();

    /** Runs an operation of the one, then of the other, and compares.
     *
     *  @param operation  takes either and returns its result, if any
     *  @return how it ended
     */
    template <typename Operation>
    std::string compare(const std::string& what, Operation operation)
    {
        const auto expected = outcomeOf([&] { return operation(reference); });
        const auto actual = outcomeOf([&] { return operation(library); });
        requireSame(what, expected, actual);
        compareEvents(what);
        return actual;
    }

    /** A finished job's signal, handed to each from its start. */
    std::string compareJobRemoved(sd_bus_message* signal);

    /** The same of a unit; also shows what unit they remember.
     *
     *  @return empty where the name is not UTF-8: no message can hold it
     */
    std::string compareJobRemoved(const std::string& unit,
                                  const std::string& result);

    /** The unit that the reference has launched last. */
    const std::string& launched() const
    {
        return reference.launched;
    }

    /** What a method answers that no operation calls.
     *
     *  @throw Failure  it is an error, or could not be received
     */
    Message replyOf(const char* member);

    /** A finished job's signal, to be filled and sealed. */
    Message newJobRemoved() const;

  private:
    void compareEvents(const std::string& what);

    Log log;
    Platform referencePlatform;
    Reference reference{referencePlatform.bus(), log};

    test::Transcript transcript;
    Platform libraryPlatform;
    sdbusplus::bus_t connection{libraryPlatform.bus()};
    wexa::core::FWManagerInternal library{connection};
};

} // namespace fuzz
