// SPDX-License-Identifier: Apache-2.0
#include "library.hpp"

#include "../common/failure.hpp"

#include <dlfcn.h>

#include <algorithm>

static Failure cannotLoad()
{
    return {ExitStatus::callFailed,
            std::string("the library cannot be loaded: ") + dlerror(),
            "install what is missing; wexa-fwmgr doctor shows all of it"};
}

static const Library* load()
{
    // Never unloaded: exceptions of its types may be on their way.
    auto* const module = dlopen(libraryModule, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        throw cannotLoad();
    }
    auto* const symbol = dlsym(module, librarySymbol);
    if (symbol == nullptr)
    {
        throw cannotLoad();
    }
    return reinterpret_cast<decltype(&wexaFwmgrLibrary)>(symbol)();
}

const Library& library()
{
    static const auto* const loaded = load();
    return *loaded;
}

const FirmwareKind& firmwareKindOf(const std::string& kind,
                                   const std::string& image)
{
    return *std::ranges::find_if(library().kinds, [&](const auto& candidate) {
        return candidate.name == kind &&
               (candidate.includes == nullptr || candidate.includes(image));
    });
}
