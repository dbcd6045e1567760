// SPDX-License-Identifier: Apache-2.0
#include "../operations/library.hpp"
#include "checks.hpp"
#include "loaded_library.hpp"

#include <dlfcn.h>

#include <array>
#include <string>

namespace
{

/** A routine of the core library, by its mangled name. */
struct Routine
{
    const char* kind;
    const char* name;
    const char* symbol;
};

constexpr auto coreLibrary = "libwexacore.so.0";

constexpr std::array routines{
    Routine{"bmc", "get_bmc_version_string_from_image",
            "_ZN4wexa4core33get_bmc_version_string_from_imageB5cxx11EPc"},
    Routine{"bios", "get_bios_version_from_image",
            "_ZN4wexa4core27get_bios_version_from_imageEPcS1_iS1_i"},
    Routine{"bios", "get_bios_board_id", "_ZN4wexa4core17get_bios_board_idEPc"},
    Routine{"bios", "check_bios_seamless_capsule",
            "_ZN4wexa4core27check_bios_seamless_capsuleEPc"},
    Routine{"bios", "get_capsule_version_from_image",
            "_ZN4wexa4core30get_capsule_version_from_imageEPcS1_ii"},
};

void checkCoreLibrary(Findings& findings, const Kinds& kinds)
{
    const auto library = loadLibrary(coreLibrary);
    if (!library)
    {
        findings.failure(std::string("the core library cannot be loaded: ") +
                             dlerror(),
                         "install the core library of this platform");
        findings.notChecked("its routines, since it cannot be loaded");
        return;
    }
    findings.ok(std::string(coreLibrary) + " can be loaded");
    for (const auto& [kind, name, symbol] : routines)
    {
        if (!kinds.contains(kind))
        {
            continue;
        }
        if (dlsym(library.get(), symbol) == nullptr)
        {
            findings.failure(std::string(coreLibrary) + " has no routine " +
                                 name,
                             "install a core library that has it, in "
                             "namespace wexa::core");
        }
        else
        {
            findings.ok(name);
        }
    }
}

} // namespace

void checkLibraries(Findings& findings, const Kinds& kinds)
{
    findings.area("libraries");
    // The module is linked with the library, and so fails where it does.
    const auto module = loadLibrary(libraryModule);
    if (!module)
    {
        findings.failure(std::string("the library cannot be loaded: ") +
                             dlerror(),
                         "install what is missing");
    }
    else
    {
        findings.ok(std::string(updateLibrary) + " can be loaded");
    }
    // While the module is loaded this is the one that it uses.
    checkCoreLibrary(findings, kinds);
}
