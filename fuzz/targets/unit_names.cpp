// SPDX-License-Identifier: Apache-2.0
#include "../support/answers.hpp"
#include "../support/side_by_side.hpp"

// The names of flash units, of image paths and component names of any bytes;
// and whether the end of what was launched is recognised.

using fuzz::VersionPurpose;

static void compareLaunch(fuzz::SideBySide& sides, std::size_t which,
                          const std::string& path, const std::string& component)
{
    sides.compare("a launch", [&](auto& subject) {
        switch (which)
        {
            case 0:
                return subject.UpdateBMC(path, VersionPurpose::BMC, component);
            case 1:
                return subject.UpdateBIOS(path, VersionPurpose::Host,
                                          component);
            default:
                return subject.UpdateCPLD(path, VersionPurpose::Other,
                                          component);
        }
    });
}

static void run(fuzz::Input input)
{
    const auto which = input.below(3);
    const auto component = input.anyText();
    const auto path = input.rest();

    fuzz::SideBySide sides({{"StartUnit", fuzz::typedAnswer(input, "o")}});
    compareLaunch(sides, which, path, component);

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
