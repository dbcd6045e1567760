// SPDX-License-Identifier: Apache-2.0
#include "target.hpp"

#include <cstdio>
#include <cstdlib>
#include <map>

namespace fuzz
{

static std::map<std::string, const Target*>& known()
{
    static std::map<std::string, const Target*> targets;
    return targets;
}

Target::Target(std::string named, void (*run)(Input input)) :
    name(std::move(named)), execute(run)
{
    known().emplace(name, this);
}

const Target* Target::named(const std::string& name)
{
    if (name.empty() && known().size() == 1)
    {
        return known().begin()->second;
    }
    const auto found = known().find(name);
    return found == known().end() ? nullptr : found->second;
}

void fail(const std::string& why)
{
    // A zero byte is no end.
    std::fwrite(why.data(), 1, why.size(), stderr);
    std::fputc('\n', stderr);
    std::abort();
}

void requireSame(const std::string& what, const std::string& expected,
                 const std::string& actual)
{
    if (expected != actual)
    {
        fail(what + "\nexpected: " + expected + "\nactual:   " + actual);
    }
}

} // namespace fuzz
