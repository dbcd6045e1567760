// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.hpp"
#include "platform.hpp"

#include <string>

/** What the services of a platform answer, chosen by the input. */
namespace fuzz
{

/** A value of the given types, whatever it is. */
Answer typedAnswer(Input& input, const std::string& types);

/** What the service that `key` names in `Answers` would say. */
Answer soundAnswer(Input& input, const std::string& key);

/** An answer that is wrong: values of other types, no values, an error, no
 *  answer at all, a connection that is lost.
 */
Answer oddAnswer(Input& input);

/** A sound answer or an odd one. */
Answer anyAnswer(Input& input, const std::string& key);

/** Any answers of all services; some are absent. */
Answers anyAnswers(Input& input);

/** Bytes of any signature and content, often of the right signature. */
Answer rawAnswer(Input& input);

} // namespace fuzz
