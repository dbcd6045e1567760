// SPDX-License-Identifier: Apache-2.0
#include "scripted_core_library.hpp"

#include "hidden.hpp"

#include <core_library.hpp>

#include <algorithm>
#include <stdexcept>

namespace test
{

ScriptedCoreLibrary* ScriptedCoreLibrary::current = nullptr;

ScriptedCoreLibrary::ScriptedCoreLibrary()
{
    current = this;
}

ScriptedCoreLibrary::~ScriptedCoreLibrary()
{
    current = nullptr;
}

/** Notes a call, which then may throw. */
static void note(const std::string& routine, const std::string& arguments)
{
    if (ScriptedCoreLibrary::current == nullptr)
    {
        return;
    }
    ScriptedCoreLibrary::current->calls.push_back(routine + ' ' + arguments);
    if (ScriptedCoreLibrary::current->throwing == routine)
    {
        throw std::runtime_error("from the core library");
    }
}

static std::string describe(const char* buffer, int size)
{
    const auto isClean = std::all_of(buffer, buffer + size,
                                     [](char byte) { return byte == '\0'; });
    return ' ' + std::to_string(size) + (isClean ? "" : " dirty");
}

template <typename Answer>
static std::optional<Answer>
scripted(std::optional<Answer> ScriptedCoreLibrary::* answer)
{
    return ScriptedCoreLibrary::current == nullptr
               ? std::nullopt
               : ScriptedCoreLibrary::current->*answer;
}

static void fillIfTold(std::optional<std::string> ScriptedCoreLibrary::* bytes,
                       char* buffer, int size)
{
    if (const auto text = scripted(bytes))
    {
        text->copy(buffer, static_cast<std::size_t>(size));
    }
}

} // namespace test

namespace wexa::core
{

using test::ScriptedCoreLibrary;

std::string get_bmc_version_string_from_image(char* imagePath)
{
    test::note("get_bmc_version_string_from_image", imagePath);
    const auto answer = test::scripted(&ScriptedCoreLibrary::bmcVersion);
    return answer ? *answer
                  : test::hidden<std::string(char*)>(
                        "_ZN4wexa4core33get_bmc_version_string_from_imageB5"
                        "cxx11EPc")(imagePath);
}

int check_bios_seamless_capsule(char* imagePath)
{
    test::note("check_bios_seamless_capsule", imagePath);
    const auto answer = test::scripted(&ScriptedCoreLibrary::capsuleKind);
    return answer ? *answer
                  : test::hidden<int(char*)>(
                        "_ZN4wexa4core27check_bios_seamless_capsuleEPc")(
                        imagePath);
}

int get_bios_board_id(char* imagePath)
{
    test::note("get_bios_board_id", imagePath);
    const auto answer = test::scripted(&ScriptedCoreLibrary::board);
    return answer ? *answer
                  : test::hidden<int(char*)>(
                        "_ZN4wexa4core17get_bios_board_idEPc")(imagePath);
}

int get_bios_version_from_image(char* imagePath, char* versionOut,
                                int versionSize, char* dateOut, int dateSize)
{
    test::note("get_bios_version_from_image",
               imagePath + test::describe(versionOut, versionSize) +
                   test::describe(dateOut, dateSize));
    const auto result = test::hidden<int(char*, char*, int, char*, int)>(
        "_ZN4wexa4core27get_bios_version_from_imageEPcS1_iS1_i")(
        imagePath, versionOut, versionSize, dateOut, dateSize);
    test::fillIfTold(&ScriptedCoreLibrary::version, versionOut, versionSize);
    test::fillIfTold(&ScriptedCoreLibrary::date, dateOut, dateSize);
    return test::scripted(&ScriptedCoreLibrary::versionResult).value_or(result);
}

int get_capsule_version_from_image(char* imagePath, char* versionOut,
                                   int versionSize, int capsuleKind)
{
    test::note("get_capsule_version_from_image",
               imagePath + test::describe(versionOut, versionSize) + ' ' +
                   std::to_string(capsuleKind));
    const auto result = test::hidden<int(char*, char*, int, int)>(
        "_ZN4wexa4core30get_capsule_version_from_imageEPcS1_ii")(
        imagePath, versionOut, versionSize, capsuleKind);
    test::fillIfTold(&ScriptedCoreLibrary::version, versionOut, versionSize);
    return test::scripted(&ScriptedCoreLibrary::versionResult).value_or(result);
}

} // namespace wexa::core
