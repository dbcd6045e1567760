// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"

#include "descendants.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace bmcsim
{

void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

const std::string& ownProgram()
{
    static const std::string path =
        std::filesystem::read_symlink("/proc/self/exe");
    return path;
}

std::vector<char*> pointersTo(const std::vector<std::string>& strings)
{
    std::vector<char*> list;
    list.reserve(strings.size() + 1);
    for (const auto& string : strings)
    {
        list.push_back(const_cast<char*>(string.c_str()));
    }
    list.push_back(nullptr);
    return list;
}

void setVariable(std::vector<std::string>& environment,
                 const std::string& variable)
{
    const auto name = variable.substr(0, variable.find('=') + 1);
    const auto set = std::ranges::find_if(
        environment, [&](const auto& each) { return each.starts_with(name); });
    if (set == environment.end())
    {
        environment.push_back(variable);
        return;
    }
    *set = variable;
}

/** Opens a file as a stream; ends the process where it cannot. */
static void openAs(int stream, const std::string& path, int flags, int status)
{
    const auto file = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file < 0)
    {
        std::perror(path.c_str());
        _exit(status);
    }
    dup2(file, stream);
}

static void writeToLog(const Program& program)
{
    constexpr auto append = O_WRONLY | O_CREAT | O_APPEND;
    openAs(STDIN_FILENO, "/dev/null", O_RDONLY, program.notLogged);
    openAs(STDOUT_FILENO, program.log, append, program.notLogged);
    if (program.errorLog.empty())
    {
        dup2(STDOUT_FILENO, STDERR_FILENO);
        return;
    }
    openAs(STDERR_FILENO, program.errorLog, append, program.errorsNotLogged);
}

[[noreturn]] static void become(const Program& program, pid_t parent)
{
    if (!signalAtEndOf(parent, SIGKILL))
    {
        _exit(EXIT_FAILURE);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    writeToLog(program);
    try
    {
        program.prepare();
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        _exit(126);
    }
    // The descriptors that this program got from its parent are not for others.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    auto command = pointersTo(program.command);
    auto environment = pointersTo(program.environment);
    // Only execvpe looks for it, and hands what is no program to a shell.
    const auto isPath = program.command.front().find('/') != std::string::npos;
    (isPath ? execve : execvpe)(command[0], command.data(), environment.data());
    std::perror(command[0]);
    _exit(program.notExecutable);
}

pid_t start(const Program& program)
{
    const auto parent = getpid();
    const auto child = checked(fork(), "fork");
    if (child == 0)
    {
        become(program, parent);
    }
    return child;
}

void end(pid_t& process)
{
    if (process > 0)
    {
        kill(process, SIGKILL);
        // Code that reaps all children may have been first.
        waitpid(process, nullptr, 0);
    }
    process = -1;
}

bool hasEnded(pid_t& process)
{
    if (process > 0 && waitpid(process, nullptr, WNOHANG) != 0)
    {
        process = -1;
    }
    return process < 0;
}

std::string tailOf(const std::string& log)
{
    std::ostringstream text;
    text << std::ifstream(log).rdbuf();
    auto tail = text.str();
    constexpr std::size_t most = 600;
    if (tail.size() > most)
    {
        tail.erase(0, tail.size() - most);
    }
    while (!tail.empty() && tail.back() == '\n')
    {
        tail.pop_back();
    }
    return tail;
}

} // namespace bmcsim
