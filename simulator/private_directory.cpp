// SPDX-License-Identifier: Apache-2.0
#include "private_directory.hpp"

#include "child.hpp"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace bmcsim
{

constexpr auto prefix = "wexa-bmcsim.";

PrivateDirectory PrivateDirectory::make()
{
    const auto base = std::filesystem::temp_directory_path();
    auto name = (base / (prefix + std::string("XXXXXX"))).string();
    // systemd's own socket has the longest name.
    if (name.size() + sizeof("/manager/systemd/private") >
        sizeof(sockaddr_un::sun_path))
    {
        throw std::runtime_error("the path " + base.string() +
                                 " is too long for sockets; set TMPDIR to a "
                                 "shorter one");
    }
    if (mkdtemp(name.data()) == nullptr)
    {
        fail("cannot make a directory in " + base.string());
    }
    PrivateDirectory made{name};
    for (const auto& part :
         {made.runtime(), made.managerRuntime(), made.units(), made.empty(),
          made.flash(), made.root / "log"})
    {
        std::filesystem::create_directory(part);
        std::filesystem::permissions(part, std::filesystem::perms::owner_all);
    }
    return made;
}

std::vector<PrivateDirectory> PrivateDirectory::running()
{
    std::vector<PrivateDirectory> found;
    for (const auto& entry : std::filesystem::directory_iterator(
             std::filesystem::temp_directory_path()))
    {
        const PrivateDirectory candidate{entry.path()};
        // Nobody is led to a bus of somebody else's.
        struct stat status = {};
        if (candidate.name().starts_with(prefix) &&
            stat(candidate.busSocket().c_str(), &status) == 0 &&
            S_ISSOCK(status.st_mode) && status.st_uid == geteuid())
        {
            found.push_back(candidate);
        }
    }
    return found;
}

void PrivateDirectory::remove() const noexcept
{
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

} // namespace bmcsim
