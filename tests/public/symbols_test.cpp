// SPDX-License-Identifier: Apache-2.0
#include "../support/process.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <typeinfo>

using namespace test;

namespace
{

using Names = std::set<std::string>;

Names lines(std::istream&& text)
{
    Names names;
    for (std::string line; std::getline(text, line);)
    {
        names.insert(line);
    }
    return names;
}

/** The names that nm lists, a line each. */
Names symbols(const std::vector<std::string>& options, const std::string& file)
{
    std::vector<std::string> command{"nm", "--format=just-symbols"};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(file);
    const auto listed = run(command);
    EXPECT_EQ(listed.status, 0) << listed.err;
    return lines(std::istringstream(listed.out));
}

std::string replaced(std::string text, const std::string& what,
                     const std::string& by)
{
    const auto place = text.find(what);
    return place == std::string::npos ? text
                                      : text.replace(place, what.size(), by);
}

/** With the platform's types as its release names them. */
Names committed(const std::string& list)
{
    const std::string purposeOf2022 =
        "N9sdbusplus3xyz15openbmc_project8Software6server7Version"
        "14VersionPurposeE";
    const std::string busOf2022 = "N9sdbusplus3bus3busE";
    Names names;
    for (const auto& name : lines(std::ifstream(
             fromEnvironment("WEXA_SOURCES") + "/tests/public/" + list)))
    {
        names.insert(
            replaced(replaced(name, purposeOf2022,
                              typeid(wexa::core::VersionPurpose).name()),
                     busOf2022, typeid(sdbusplus::bus_t).name()));
    }
    return names;
}

std::string soname(const std::string& library)
{
    const auto dynamic = run({"readelf", "--dynamic", library}).out;
    const std::string before = "Library soname: [";
    const auto start = dynamic.find(before) + before.size();
    return dynamic.substr(start, dynamic.find(']', start) - start);
}

TEST(Symbols, ExportedAreTheClassAndNothingElse)
{
    EXPECT_EQ(symbols({"--dynamic", "--defined-only"},
                      fromEnvironment("WEXA_LIBRARY")),
              committed("exported.txt"));
}

TEST(Symbols, DeclaredAreAllOperationsOfTheContract)
{
    Names referredTo;
    for (const auto& name :
         symbols({"--undefined-only"}, fromEnvironment("WEXA_CONTRACT")))
    {
        if (name.find("FWManagerInternal") != std::string::npos)
        {
            referredTo.insert(name);
        }
    }
    EXPECT_EQ(referredTo, committed("contract.txt"));
}

TEST(Symbols, ExportedByTheCoreLibraryAreItsFiveRoutines)
{
    EXPECT_EQ(symbols({"--dynamic", "--defined-only"},
                      fromEnvironment("WEXA_CORE_LIBRARY")),
              committed("core_library.txt"));
}

TEST(Symbols, AreFoundByTheirSonames)
{
    EXPECT_EQ(soname(fromEnvironment("WEXA_LIBRARY")),
              "libwexa_fwmgr_internal.so.0");
    EXPECT_EQ(soname(fromEnvironment("WEXA_CORE_LIBRARY")), "libwexacore.so.0");
}

} // namespace
