// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/told_value.hpp"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>

/** The D-Bus calls of this process, each with its time.
 *
 *  They are seen where every one of them passes, the library's and the tool's
 *  own: in libsystemd's `sd_bus_call`, which this program has its own
 *  function in front of.
 */
namespace trace
{

/** From now on calls are remembered.
 *
 *  @param show  whether they are shown on standard error, too, as they begin
 *               and end
 */
void begin(bool show);

/** Whether they are. */
bool isOn();

/** All since `begin`, in order. */
nlohmann::json calls();

/** A call that did not do what it was made for. */
struct FailedCall
{
    std::string service;
    std::string member;
    /** The property that was to be read or written, if any. */
    std::string property;
    /** How long it could have waited for an answer. */
    std::chrono::microseconds limit{};
    /** What was answered; of no type where nothing was. */
    ToldValue answer;

    /** Whether it asked for more than an answer. */
    bool changesSomething() const
    {
        return member == "Set" || member == "StartUnit";
    }
};

/** The call that a failure is about: the last one that failed with this
 *  error, one that changes something before others; or, where an answer could
 *  not be read, the last one that was answered. Calls are remembered for this
 *  from the start.
 */
std::optional<FailedCall> callBehind(const std::string& dbusError);

} // namespace trace
