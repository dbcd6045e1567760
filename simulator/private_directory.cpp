// SPDX-License-Identifier: Apache-2.0
#include "private_directory.hpp"

#include "child.hpp"

#include <sys/un.h>

#include <cstdlib>
#include <stdexcept>

namespace bmcsim
{

PrivateDirectory PrivateDirectory::make()
{
    const auto base = std::filesystem::temp_directory_path();
    auto name = (base / "wexa-bmcsim.XXXXXX").string();
    // systemd's own socket has the longest name.
    if (name.size() + sizeof("/run/systemd/private") >
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
    for (const auto& part : {made.runtime(), made.units(), made.empty(),
                             made.flash(), made.root / "log"})
    {
        std::filesystem::create_directory(part);
        std::filesystem::permissions(part, std::filesystem::perms::owner_all);
    }
    return made;
}

void PrivateDirectory::remove() const noexcept
{
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

} // namespace bmcsim
