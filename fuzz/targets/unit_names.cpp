// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/systemd_manager.hpp"
#include "../support/answers.hpp"
#include "../support/session.hpp"

// The names of flash units, of image paths and component names of any bytes;
// and whether the end of what was launched is recognised.

static void run(fuzz::Input input)
{
    const auto& operation =
        fuzz::operations()[fuzz::verifications + input.below(fuzz::launches)];
    const auto component = input.anyText();
    const auto answer = fuzz::typedAnswer(input, "o");
    const auto path = input.rest();

    fuzz::Session session({{"StartUnit", answer}});
    session.run(operation, {path, component});
    const auto& unit = session.launched();
    const auto outcome = session.finish(unit, "done");
    if (!outcome.empty())
    {
        // What goes out ends at a NUL, which no file name holds.
        const auto isWhole = unit.find('\0') == std::string::npos;
        fuzz::requireSame("the outcome", isWhole ? "1" : "0", outcome);
        fuzz::requireSame("the start",
                          test::systemd_manager::call(unit.c_str()),
                          session.calls().front());
    }
}

static const fuzz::Target target("unit_names", run);
