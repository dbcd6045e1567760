// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

#include <stdexcept>

namespace test
{

/** A library's function, which one of the program's with the same name hides.
 *
 *  @param symbol  its name as the linker knows it
 *  @throw std::runtime_error  no library has the symbol
 */
template <typename Function>
Function* hidden(const char* symbol)
{
    auto* const found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<Function*>(found);
}

} // namespace test
