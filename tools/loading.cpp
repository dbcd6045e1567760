// SPDX-License-Identifier: Apache-2.0
#include "loading.hpp"

#include "common/failure.hpp"

#include <dlfcn.h>

static Failure cannotLoad()
{
    return {ExitStatus::callFailed,
            std::string("the library cannot be loaded: ") + dlerror(),
            "install what is missing; wexa-fwmgr doctor shows all of it"};
}

const Operations& loadOperations()
{
    // Never unloaded: exceptions of its types may be on their way.
    auto* const module = dlopen(operationsModule, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        throw cannotLoad();
    }
    auto* const symbol = dlsym(module, operationsSymbol);
    if (symbol == nullptr)
    {
        throw cannotLoad();
    }
    return *reinterpret_cast<decltype(&wexaFwmgrOperations)>(symbol)();
}
