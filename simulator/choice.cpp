// SPDX-License-Identifier: Apache-2.0
#include "choice.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace bmcsim
{

static std::string inWords(const std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const auto isLast = i + 1 == names.size();
        text += (i == 0 ? "" : isLast ? " and " : ", ") + names[i];
    }
    return text;
}

std::string chosenFrom(const std::vector<std::string>& known,
                       const std::string& name, const std::string& what)
{
    if (std::ranges::find(known, name) == known.end())
    {
        throw std::invalid_argument("no " + what + " '" + name +
                                    "'; there are " + inWords(known));
    }
    return name;
}

std::vector<std::string> allChosenFrom(const std::vector<std::string>& known,
                                       const std::string& list,
                                       const std::string& what)
{
    std::vector<std::string> names;
    std::istringstream text(list);
    for (std::string name; std::getline(text, name, ',');)
    {
        if (std::ranges::find(names, name) != names.end())
        {
            throw std::invalid_argument(std::string("the ")
                                            .append(what)
                                            .append(" '")
                                            .append(name)
                                            .append("' comes twice"));
        }
        names.push_back(chosenFrom(known, name, what));
    }
    return names;
}

std::string joined(const std::vector<std::string>& names)
{
    std::string list;
    for (const auto& name : names)
    {
        list += (list.empty() ? "" : ",") + name;
    }
    return list;
}

} // namespace bmcsim
