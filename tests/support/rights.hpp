// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>

/** What tests need of the machine and of the user who runs them. Without it
 * they are skipped, and say what is missing.
 */
namespace test::rights
{

/** Why there can be no real systemd; empty where there can. */
std::string missingForSystemd();

/** The manager of that name, or the built-in one if it cannot be started: for
 *  fixtures of tests that `SKIP_WITHOUT_MANAGER` skips.
 */
std::string managerOr(const std::string& wanted);

/** Why a test can start no program as another user; empty where it can. */
std::string missingForOtherUsers();

/** Why a test can start no program of the build as another user. */
std::string missingForOtherUsersOfTheBuild();

/** Why a test can mount nothing; empty where it can. */
std::string missingForMounts();

/** Why "meson install" cannot run, which keeps a log in the build folder;
 *  empty where it can.
 */
std::string missingForInstallation();

} // namespace test::rights

/** Skips the test, for the reason that is not empty. */
#define SKIP_BECAUSE(reason)                                    \
    if (const std::string missing = (reason); !missing.empty()) \
    GTEST_SKIP() << missing

#define SKIP_WITHOUT_SYSTEMD() SKIP_BECAUSE(test::rights::missingForSystemd())
#define SKIP_WITHOUT_MANAGER(name)                       \
    SKIP_BECAUSE(name == std::string("systemd")          \
                     ? test::rights::missingForSystemd() \
                     : "")
#define SKIP_WITHOUT_OTHER_USERS() \
    SKIP_BECAUSE(test::rights::missingForOtherUsers())
#define SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD() \
    SKIP_BECAUSE(test::rights::missingForOtherUsersOfTheBuild())
#define SKIP_WITHOUT_MOUNTS() SKIP_BECAUSE(test::rights::missingForMounts())
#define SKIP_WITHOUT_INSTALLATION() \
    SKIP_BECAUSE(test::rights::missingForInstallation())
