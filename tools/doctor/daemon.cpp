// SPDX-License-Identifier: Apache-2.0
#include "../common/failure.hpp"
#include "../operations/library.hpp"
#include "checks.hpp"
#include "findings.hpp"
#include "library_use.hpp"
#include "loaded_library.hpp"

#include <cxxabi.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/** Whether a symbol is a member of the library's class, or made for it. */
bool isOfTheClass(std::string_view symbol)
{
    constexpr std::array beginnings{"_ZN", "_ZNK", "_ZTVN", "_ZTIN", "_ZTSN"};
    return std::ranges::any_of(beginnings, [&](std::string_view beginning) {
        return symbol.starts_with(beginning) &&
               symbol.substr(beginning.size())
                   .starts_with("4wexa4core17FWManagerInternal");
    });
}

/** As it is written in C++; the symbol itself where that is not known. */
std::string demangled(const std::string& symbol)
{
    // Each "_" may end a reference to what stands before, and references to
    // references grow without a bound.
    if (std::ranges::count(symbol, '_') > 20 || symbol.size() > 1000)
    {
        return symbol;
    }
    auto status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status),
        std::free);
    return name ? name.get() : symbol;
}

void checkSymbols(Findings& findings, const std::string& program,
                  const std::vector<std::string>& symbols)
{
    // The module is linked with the library.
    const auto module = loadLibrary(libraryModule);
    if (!module)
    {
        findings.notChecked("whether the library has what " + program +
                            " uses, since the library cannot be loaded");
        return;
    }
    std::vector<std::string> missing;
    std::ranges::copy_if(
        symbols, std::back_inserter(missing), [&](const auto& symbol) {
            return dlsym(module.get(), symbol.c_str()) == nullptr;
        });
    for (const auto& symbol : missing)
    {
        findings.failure("the library does not have " + demangled(symbol) +
                             ", which " + program + " uses",
                         "build the daemon and the library with the same "
                         "releases of sdbusplus and phosphor-dbus-interfaces");
    }
    if (missing.empty())
    {
        findings.ok("the library has what " + program + " uses");
    }
}

} // namespace

void checkDaemon(Findings& findings, const std::string& program)
{
    findings.area("daemon");
    try
    {
        const auto use = readLibraryUse(program, updateLibrary, isOfTheClass);
        if (!use.isLinked)
        {
            findings.failure(program + " is not linked with " + updateLibrary,
                             "name the program, or the library of it, that is");
            return;
        }
        findings.ok(program + " is linked with " + updateLibrary);
        checkSymbols(findings, program, use.symbols);
    }
    catch (const Failure& failure)
    {
        findings.failure(failure.what(), failure.reason.hint);
    }
}
