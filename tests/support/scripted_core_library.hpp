// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace test
{

/** Stands before libwexacore in programs that link it: notes each call of its
 *  BIOS routines, and answers what a test wants where no image can make the
 *  real one answer so. One at a time.
 */
class ScriptedCoreLibrary
{
  public:
    ScriptedCoreLibrary();
    ~ScriptedCoreLibrary();

    ScriptedCoreLibrary(const ScriptedCoreLibrary&) = delete;
    ScriptedCoreLibrary& operator=(const ScriptedCoreLibrary&) = delete;

    /** Answers instead of the real one's. */
    std::optional<int> capsuleKind;
    std::optional<int> board;
    std::optional<int> versionResult;

    /** Fills the version's buffer to its last byte, without an end. */
    bool fillsVersion = false;

    /** The routines called, with what was handed over: a path, the sizes of
     *  buffers, "dirty" for one that was not all zeros, a kind.
     */
    std::vector<std::string> calls;

    static ScriptedCoreLibrary* current;
};

} // namespace test
