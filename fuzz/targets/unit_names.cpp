// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/operations.hpp"
#include "../support/side_by_side.hpp"

// The names of flash units, of image paths and component names of any bytes;
// and whether the end of what was launched is recognised.

static void run(fuzz::Input input)
{
    const auto which = input.below(fuzz::launches);
    const auto component = input.anyText();
    const auto answer = fuzz::typedAnswer(input, "o");
    const auto path = input.rest();

    fuzz::SideBySide sides({{"StartUnit", answer}});
    sides.compare("a launch", [&](auto& subject) {
        return fuzz::launch(subject, which, path, fuzz::VersionPurpose::Other,
                            component);
    });

    const auto& unit = sides.launched();
    const auto outcome = sides.compareJobRemoved(unit, "done");
    if (!outcome.empty())
    {
        // What goes out ends at a NUL, which no file name holds.
        const auto isWhole = unit.find('\0') == std::string::npos;
        fuzz::requireSame("the outcome", isWhole ? "1" : "0", outcome);
    }
}

static const fuzz::Target target("unit_names", run);
