// SPDX-License-Identifier: Apache-2.0
#include "call_site.hpp"

#include <algorithm>
#include <stdexcept>

namespace test
{

const std::vector<CallSite>& callSites()
{
    static const auto sites = [] {
        std::vector<CallSite> all;
        for (const auto& some :
             {verificationSites(), startSites(), uploadSites(), cpldSites()})
        {
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }();
    return sites;
}

const CallSite& siteNamed(std::string_view name)
{
    const auto found = std::ranges::find(callSites(), name, &CallSite::name);
    if (found == callSites().end())
    {
        throw std::logic_error("no call site " + std::string(name));
    }
    return *found;
}

} // namespace test
