// SPDX-License-Identifier: Apache-2.0
#include "target.hpp"

// The entry of libFuzzer, which brings `main`.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size)
{
    static const auto* const target = fuzz::Target::named("");
    target->run({reinterpret_cast<const char*>(data), size});
    return 0;
}
