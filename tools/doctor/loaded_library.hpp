// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

#include <memory>

/** The library that all this is about. */
constexpr auto updateLibrary = "libwexa_fwmgr_internal.so.0";

struct UnloadLibrary
{
    void operator()(void* library) const
    {
        dlclose(library);
    }
};

using LoadedLibrary = std::unique_ptr<void, UnloadLibrary>;

/** Bound lazily: what is missing in it is another finding.
 *
 *  @return nothing where it cannot be loaded; dlerror() tells why
 */
inline LoadedLibrary loadLibrary(const char* name)
{
    return LoadedLibrary(dlopen(name, RTLD_LAZY | RTLD_LOCAL));
}
