// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/cpld_manager.hpp"
#include "../../tests/support/temporary_directory.hpp"
#include "../support/answers.hpp"
#include "../support/session.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

// The signed image of a CPLD in directories of any names and kinds of entries.

/** A name of any bytes that a file can have, except those that lead out of
 *  their directory; often one that is looked for.
 */
static std::string nameFrom(fuzz::Input& input)
{
    auto name = input.anyBytes(15);
    std::erase(name, '/');
    std::erase(name, '\0');
    switch (input.below(4))
    {
        case 0:
            return name + "image_cpld_signed";
        case 1:
            return "image_cpld_signe" + name;
        default:
            return name == "." || name == ".." ? name + '_' : name;
    }
}

/** Makes an entry, or not where there is one of that name. */
static void makeEntry(fuzz::Input& input, const std::string& path)
{
    switch (input.below(5))
    {
        case 0:
            mkdir(path.c_str(), 0755);
            return;
        case 1:
            std::ignore = symlink(nameFrom(input).c_str(), path.c_str());
            return;
        case 2:
            mkfifo(path.c_str(), 0644);
            return;
        default:
            close(open(path.c_str(), O_CREAT | O_WRONLY | O_EXCL, 0644));
    }
}

/** Whether the device may be asked about a path: in a directory that is an
 *  entry that holds the signed image, if there is one.
 */
static bool mayBeAsked(const std::string& asked, const std::string& given)
{
    namespace fs = std::filesystem;
    if (!fs::is_directory(given))
    {
        return asked == given;
    }
    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(given))
    {
        if (entry.path().string().find("image_cpld_signed") !=
            std::string::npos)
        {
            entries.push_back(entry.path());
        }
    }
    return entries.empty() ? asked == given
                           : std::ranges::find(entries, asked) != entries.end();
}

static void run(fuzz::Input input)
{
    const test::TemporaryDirectory directory;
    std::vector<std::string> paths{directory.path()};
    for (auto count = input.below(8); count-- > 0;)
    {
        const auto& parent = paths[input.below(paths.size())];
        const auto path = parent + '/' + nameFrom(input);
        makeEntry(input, path);
        paths.push_back(path);
    }
    fuzz::Answers answers{
        {"bindedDevices",
         {test::cpld_manager::registry({{"MB_CPLD", "/mb", "jtag", {}}})}}};
    answers["readImageFileInfo"] =
        fuzz::soundAnswer(input, "readImageFileInfo");
    auto asked = paths[input.below(paths.size())];
    asked += input.below(4) == 0 ? "/" : "";

    fuzz::Session session(std::move(answers));
    session.run("getCPLDImageFileInfo", {asked, "MB_CPLD"});
    if (session.calls().size() == 2)
    {
        const auto& call = session.calls().back();
        const auto start = call.find('"') + 1;
        const auto path = call.substr(start, call.size() - start - 1);
        if (!mayBeAsked(path, asked))
        {
            fuzz::fail("of " + asked + " the device is asked about " + path);
        }
    }
}

static const fuzz::Target target("directories", run);
