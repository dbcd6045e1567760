// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace test
{

/** Stands before libwexacore in programs that link it: notes each call of its
 *  routines, and answers what a test wants where no image can make the
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
    std::optional<std::string> bmcVersion;

    /** Bytes that go into the buffers of version and date, as many as have
     *  room and without an end of their own.
     */
    std::optional<std::string> version;
    std::optional<std::string> date;

    /** The routine that throws std::runtime_error("from the core library"). */
    std::string throwing;

    /** The routines called, with what was handed over: a path, the sizes of
     *  buffers, "dirty" for one that was not all zeros, a kind.
     */
    std::vector<std::string> calls;

    static ScriptedCoreLibrary* current;
};

} // namespace test
