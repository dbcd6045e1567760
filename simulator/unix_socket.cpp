// SPDX-License-Identifier: Apache-2.0
#include "unix_socket.hpp"

#include "child.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace bmcsim
{

using Call = int (*)(int, const sockaddr*, socklen_t);

/** `bind` or `connect` with a path; -1 and errno where that fails. */
static int callWith(Call call, int made, const std::filesystem::path& path)
{
    sockaddr_un address{AF_UNIX, {}};
    if (path.string().size() >= sizeof(address.sun_path))
    {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.string().size() + 1);
    return call(made, reinterpret_cast<const sockaddr*>(&address),
                sizeof(address));
}

static int newSocket()
{
    return checked(
        socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0),
        "socket");
}

int listenAt(const std::filesystem::path& path)
{
    const auto made = newSocket();
    if (callWith(bind, made, path) < 0 || listen(made, SOMAXCONN) < 0)
    {
        const auto error = errno;
        close(made);
        errno = error;
        fail("cannot listen at " + path.string());
    }
    return made;
}

int connectTo(const std::filesystem::path& path)
{
    const auto made = newSocket();
    if (callWith(connect, made, path) == 0)
    {
        return made;
    }
    close(made);
    return -1;
}

} // namespace bmcsim
