// SPDX-License-Identifier: Apache-2.0
#include "exit_words.hpp"

#include <signal.h>

#include <array>
#include <cstring>
#include <string_view>

/** What systemd itself exits with where it cannot set a process up, and the
 *  two statuses of the C library; systemd.exec(5) has the list.
 */
static std::string_view nameOfStatus(int status)
{
    constexpr std::array own{
        "CHDIR",
        "NICE",
        "FDS",
        "EXEC",
        "MEMORY",
        "LIMITS",
        "OOM_ADJUST",
        "SIGNAL_MASK",
        "STDIN",
        "STDOUT",
        "CHROOT",
        "IOPRIO",
        "TIMERSLACK",
        "SECUREBITS",
        "SETSCHEDULER",
        "CPUAFFINITY",
        "GROUP",
        "USER",
        "CAPABILITIES",
        "CGROUP",
        "SETSID",
        "CONFIRM",
        "STDERR",
        "",
        "PAM",
        "NETWORK",
        "NAMESPACE",
        "NO_NEW_PRIVILEGES",
        "SECCOMP",
        "SELINUX_CONTEXT",
        "PERSONALITY",
        "APPARMOR",
        "ADDRESS_FAMILIES",
        "RUNTIME_DIRECTORY",
        "",
        "CHOWN",
        "SMACK_PROCESS_LABEL",
        "KEYRING",
        "STATE_DIRECTORY",
        "CACHE_DIRECTORY",
        "LOGS_DIRECTORY",
        "CONFIGURATION_DIRECTORY",
        "NUMA_POLICY",
        "CREDENTIALS",
        "BPF",
        "KSM",
    };
    constexpr auto first = 200;
    if (status == 1)
    {
        return "FAILURE";
    }
    return status >= first && status < first + static_cast<int>(own.size())
               ? own[static_cast<std::size_t>(status - first)]
               : "";
}

std::string exitWords(int code, int status)
{
    if (code == CLD_EXITED)
    {
        auto text = "exit status " + std::to_string(status);
        if (const auto name = nameOfStatus(status); !name.empty())
        {
            text.append("/").append(name);
        }
        return text;
    }
    auto text = "signal " + std::to_string(status);
    if (const auto* const name = sigabbrev_np(status); name != nullptr)
    {
        text.append("/SIG").append(name);
    }
    if (code == CLD_DUMPED)
    {
        text.append(", core dumped");
    }
    return text;
}
