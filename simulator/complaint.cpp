// SPDX-License-Identifier: Apache-2.0
#include "complaint.hpp"

#include <plain.hpp>

#include <iostream>

namespace bmcsim
{

void complain(const std::string& what)
{
    std::cerr << "wexa-bmcsim: " << plain::lines(what) << std::endl;
}

} // namespace bmcsim
