// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/bytes.hpp"
#include "target.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

// Runs a target over the files of its corpus, without an engine:
//
//     corpus_test TARGET FOLDER

static std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

int main(int argc, char** argv)
{
    const auto* const target =
        argc == 3 ? fuzz::Target::named(argv[1]) : nullptr;
    if (target == nullptr)
    {
        fuzz::fail("no such target");
    }
    const auto files = filesIn(argv[2]);
    if (files.empty())
    {
        fuzz::fail("no files to run");
    }
    for (const auto& file : files)
    {
        // Before it is run: the last one named is the one that fails.
        std::fprintf(stderr, "%s\n", file.c_str());
        target->run(test::bytesOf(file));
    }
}
