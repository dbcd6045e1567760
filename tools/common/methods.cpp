// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include <map>

const MethodTypes* expectedTypesOf(const std::string& method)
{
    static const std::map<std::string, MethodTypes> all{
        {"verifyBmc", {"s", "b"}},
        {"verifyBios", {"s", "b"}},
        {"verifyCapsule", {"s", "b"}},
        {"bindedDevices", {"", "a{s(ssa{sv})}"}},
        {"readImageFileInfo", {"s", "a{sv}"}},
        {"readMBVersionString", {"", "s"}},
        {"verifyCPLD", {"s", "b"}},
        {"StartUnit", {"ss", "o"}},
        {"Get", {"ss", "v"}},
    };
    const auto found = all.find(method);
    return found == all.end() ? nullptr : &found->second;
}
