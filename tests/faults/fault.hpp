// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "call_site.hpp"
#include "platform.hpp"

#include <functional>
#include <string>
#include <vector>

namespace test
{

/** How far a call gets. */
enum class Reach
{
    notCreated,
    notSent,
    bus,
    service,
};

/** Something that goes wrong with a remote call. */
struct Fault
{
    /** "Where...", "With...": the end of a sentence. */
    std::string name;

    /** Whether a call site can meet it. */
    std::function<bool(const CallSite&)> concerns;

    std::function<void(Platform&, const CallSite&)> inject;

    /** Which of the site's endings follows. */
    Ending CallSite::* ending;

    /** The text of the failure that is logged, or thrown. */
    std::function<std::string(const Platform&, const CallSite&)> failure{};

    Reach reach = Reach::service;
    bool connectionSurvives = true;

    /** Signals that the daemon finds on its connection afterwards. */
    int signals = 0;
};

/** A call site and a fault that it can meet. */
struct Cell
{
    CallSite site;
    Fault fault;
};

void PrintTo(const Cell& cell, std::ostream* stream);

/** The cells of all call sites. */
std::vector<Cell> cellsOf(const std::vector<Fault>& faults);

/** Of the bus and the connection to it. */
std::vector<Fault> busFaults();

/** Of a service: that it, an object, a method is not there, comes and goes,
 *  does not answer in time.
 */
std::vector<Fault> serviceFaults();

/** Of a reply. */
std::vector<Fault> replyFaults();

} // namespace test
