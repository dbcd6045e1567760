// SPDX-License-Identifier: Apache-2.0
#include "process.hpp"

#include <elf.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace test
{

/** As a login shell starts programs: nothing is ignored or blocked. What runs
 *  the tests, such as nohup, may ignore signals.
 */
static void resetSignals()
{
    for (const auto number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM})
    {
        signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/** The field of an ELF file that names the processor; empty for others. */
static std::string processorOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string header(sizeof(Elf32_Ehdr), '\0');
    file.read(header.data(), static_cast<std::streamsize>(header.size()));
    return file && header.starts_with(ELFMAG)
               ? header.substr(offsetof(Elf32_Ehdr, e_machine), 2)
               : "";
}

/** The words to put before a program of the processor that runs this test,
 *  where that is an emulated one.
 */
static std::vector<std::string> emulator(const std::string& program)
{
    const auto* words = std::getenv("MESON_EXE_WRAPPER");
    if (words == nullptr ||
        processorOf(program) != processorOf("/proc/self/exe"))
    {
        return {};
    }
    std::istringstream text(words);
    return {std::istream_iterator<std::string>(text), {}};
}

static void exec(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    resetSignals();
    for (const auto& variable : environment)
    {
        putenv(strdup(variable.c_str()));
    }
    auto command = emulator(arguments[0]);
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (const auto& argument : command)
    {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
}

Process::Process(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment)
{
    int outPipe[2];
    int errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) < 0 || pipe2(errPipe, O_CLOEXEC) < 0)
    {
        throw std::runtime_error("pipe2");
    }
    child = fork();
    if (child == 0)
    {
        const auto null = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dup2(null, STDIN_FILENO);
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        exec(arguments, environment);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    streams[0] = outPipe[0];
    streams[1] = errPipe[0];
}

Process::~Process()
{
    if (child > 0)
    {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    for (const auto stream : streams)
    {
        if (stream >= 0)
        {
            close(stream);
        }
    }
}

void Process::signal(int number) const
{
    kill(child, number);
}

static std::chrono::steady_clock::time_point endOfPatience()
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(120);
}

bool Process::readSome(Time deadline)
{
    std::array<pollfd, 2> waiting{
        {{streams[0], POLLIN, 0}, {streams[1], POLLIN, 0}}};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || poll(waiting.data(), waiting.size(),
                                  static_cast<int>(left.count())) == 0)
    {
        throw std::runtime_error("the program does not end; it said:\n" +
                                 text[0] + text[1]);
    }
    for (std::size_t i = 0; i < waiting.size(); ++i)
    {
        if (waiting[i].revents == 0)
        {
            continue;
        }
        std::array<char, 4096> part;
        const auto size = read(streams[i], part.data(), part.size());
        if (size <= 0)
        {
            close(streams[i]);
            streams[i] = -1;
            continue;
        }
        text[i].append(part.data(), static_cast<std::size_t>(size));
    }
    return streams[0] >= 0 || streams[1] >= 0;
}

std::string Process::awaitOutput(const std::string& awaited)
{
    const auto deadline = endOfPatience();
    std::size_t found = 0;
    while ((found = text[0].find(awaited)) == std::string::npos)
    {
        if (!readSome(deadline))
        {
            throw std::runtime_error("the program never said: " + awaited +
                                     "\n" + text[0] + text[1]);
        }
    }
    return text[0].substr(0, found + awaited.size());
}

Completed Process::wait()
{
    const auto deadline = endOfPatience();
    while (readSome(deadline))
    {
    }
    // A program may close both streams and run on.
    awaitTrue("the end of the program", [this] { return hasEnded(*this); });
    int status = 0;
    waitpid(child, &status, 0);
    child = -1;
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
            text[0], text[1]};
}

bool hasEnded(const Process& process)
{
    siginfo_t end{};
    waitid(P_PID, static_cast<id_t>(process.id()), &end,
           WEXITED | WNOHANG | WNOWAIT);
    return end.si_pid != 0;
}

void awaitTrue(const std::string& what, const std::function<bool()>& isTrue)
{
    constexpr std::chrono::seconds patience{60};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isTrue())
    {
        if (std::chrono::steady_clock::now() >= deadline)
        {
            throw std::runtime_error("never came: " + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

Completed run(const std::vector<std::string>& arguments,
              const std::vector<std::string>& environment)
{
    return Process(arguments, environment).wait();
}

void PrintTo(const Completed& completed, std::ostream* stream)
{
    *stream << "exit status " << completed.status << "\nstandard output:\n"
            << completed.out << "standard error:\n"
            << completed.err;
}

std::string fromEnvironment(const std::string& name)
{
    const auto* value = std::getenv(name.c_str());
    if (value == nullptr)
    {
        throw std::runtime_error(name + " is not set: run me by meson test");
    }
    return value;
}

} // namespace test
