// SPDX-License-Identifier: Apache-2.0
#include "operations.hpp"

#include "verbs.hpp"

[[gnu::visibility("default")]] const Operations* wexaFwmgrOperations()
{
    static constexpr Operations operations{upload, verify, update,
                                           listComponents, monitor};
    return &operations;
}
