// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace bmcsim
{

/** A program to be started by the simulated BMC. */
struct Program
{
    /** The program, found in PATH, and its arguments. */
    std::vector<std::string> command;

    /** Its whole environment, as NAME=VALUE. */
    std::vector<std::string> environment;

    /** The file to which it writes both streams, or the output only. */
    std::string log;

    /** Runs in the new process first; what it throws goes to the log. */
    std::function<void()> prepare = [] {};

    /** The file to which it writes errors, where it is another one. */
    std::string errorLog = {};

    /** Its exit status where the program cannot be executed. */
    int notExecutable = 127;

    /** Its exit status where the log cannot be written; stderr says why. */
    int notLogged = 126;

    /** The same of the file for errors. */
    int errorsNotLogged = 126;
};

/** Sets a variable, NAME=VALUE, in an environment. */
void setVariable(std::vector<std::string>& environment,
                 const std::string& variable);

/** The path of this program's file, as it was at the first call. */
const std::string& ownProgram();

/** What the exec functions take: the strings, and null at the end. */
std::vector<char*> pointersTo(const std::vector<std::string>& strings);

/** Starts a program that dies with its parent.
 *
 *  @throw std::system_error  there can be no further process
 */
pid_t start(const Program& program);

/** Kills and reaps a process of ours; none for -1. */
void end(pid_t& process);

/** Whether a process of ours has ended; reaps it, and sets it to -1. */
bool hasEnded(pid_t& process);

/** The last lines of a log file, for an error message. */
std::string tailOf(const std::string& log);

/** Throws the errno of a failed system call, named `what`. */
[[noreturn]] void fail(const std::string& what);

/** `result`, unless it is negative: then `fail`. */
template <typename Integer>
Integer checked(Integer result, const std::string& what)
{
    if (result < 0)
    {
        fail(what);
    }
    return result;
}

} // namespace bmcsim
