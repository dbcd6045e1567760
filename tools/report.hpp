// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/failure.hpp"
#include "common/result.hpp"

#include <string>

/** What the tool says in the end, and on the way: as text, results on standard
 *  output and failures on standard error; or all as one JSON value on standard
 *  output, which docs/wexa-fwmgr.schema.json describes.
 */
class Report
{
  public:
    /** @param verb  as the command line calls it; may be empty */
    Report(std::string verb, bool json);

    /** Shows something that has just happened. */
    void tell(const Result& event);

    /** Warns of something that does not stop the verb. */
    void warn(const std::string& what, const std::string& hint);

    /** Shows on standard error what helps to understand the verb. */
    static void remark(const std::string& text);

    /** @return the exit status */
    int succeed(const Result& result);

    /** @return the exit status */
    int fail(const Failure& failure);

    /** Sees that all was written.
     *
     *  @param outcome  is shown where it was not
     *  @return the exit status
     */
    static int ended(ExitStatus status, const std::string& outcome);

  private:
    nlohmann::json closing(ExitStatus status) const;
    void print(const nlohmann::json& value) const;

    std::string verb;
    bool json;
    bool hasTold = false;
    nlohmann::json warnings = nlohmann::json::array();
};
