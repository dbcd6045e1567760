// SPDX-License-Identifier: Apache-2.0
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"
#include "simulator_run.hpp"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

// Starts that come to nothing: bounded, with the reason, and nothing is left.

using namespace test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

class RunFails : public Run
{
  protected:
    /** A run of `true` by a program that sets its circumstances. */
    Completed bmcsimUnder(const std::vector<std::string>& circumstances) const
    {
        return run(
            simulator({"run", "--manager", GetParam().manager, "--", "true"},
                      circumstances),
            environment());
    }
};

INSTANTIATE_TEST_SUITE_P(Conditions, RunFails, inAllConditions(), nameOf);

TEST_P(RunFails, WithFewFileDescriptors)
{
    EXPECT_EQ(bmcsimUnder({"prlimit", "--nofile=12"}),
              (Completed{3, "",
                         "wexa-bmcsim: a simulated BMC needs 64 open files, "
                         "and 12 are allowed; allow more with ulimit -n\n"}));
    EXPECT_EQ(bmcsimUnder({"prlimit", "--nofile=64"}), (Completed{0, "", ""}));
    expectNoTraces();
}

TEST_P(RunFails, NotWhereTheParentIgnoresTheEndsOfItsChildren)
{
    EXPECT_EQ(bmcsimUnder({"env", "--ignore-signal=CHLD"}),
              (Completed{0, "", ""}));
    expectNoTraces();
}

TEST_P(RunFails, WithoutADbusDaemonAtOnce)
{
    const auto done = bmcsimUnder({"env", "PATH=/nonexistent"});
    EXPECT_EQ(done.status, 3);
    EXPECT_EQ(done.err, "wexa-bmcsim: dbus-daemon does not start: dbus-daemon: "
                        "No such file or directory\n");
    expectNoTraces();
}

TEST_P(RunFails, WhereItsDirectoryCannotBeWrittenTo)
{
    SKIP_WITHOUT_MOUNTS();
    run({"mount", "-t", "tmpfs", "-o", "mode=777,nr_inodes=5", "tmpfs",
         temporary.path()});
    const auto done = bmcsimUnder({});
    const auto traces = this->traces();
    run({"umount", temporary.path()});

    EXPECT_EQ(done.status, 3);
    EXPECT_THAT(done.err, HasSubstr("No space left on device"));
    EXPECT_EQ(traces, "");
}

TEST_P(RunFails, WhereTheTemporaryFolderHasAnUnusableName)
{
    for (const std::string name : {"a b", "a:b", "a%b", "a\xff", "a\nb"})
    {
        const auto folder = temporary.file(name);
        std::filesystem::create_directory(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::all);
        const auto done = run(running({"true"}), {"TMPDIR=" + folder});
        EXPECT_EQ(done.status, 3);
        EXPECT_THAT(done.err,
                    HasSubstr("holds other characters than letters, digits, "
                              "\"/\", \".\", \"_\" and \"-\"; set TMPDIR to "
                              "another\n"));
        EXPECT_EQ(std::filesystem::is_empty(folder), true);
        std::filesystem::remove(folder);
    }
}

/** A socket that never answers. */
class SilentSocket
{
  public:
    explicit SilentSocket(const std::string& path) :
        socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{AF_UNIX, {}};
        std::strcpy(address.sun_path, path.c_str());
        check(bind(socket, reinterpret_cast<const sockaddr*>(&address),
                   sizeof(address)),
              "bind");
        check(listen(socket, 5), "listen");
    }

    ~SilentSocket()
    {
        close(socket);
    }

    SilentSocket(const SilentSocket&) = delete;
    SilentSocket& operator=(const SilentSocket&) = delete;

    void awaitConnection() const
    {
        close(check(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC), "accept"));
    }

  private:
    int socket;
};

TEST_P(RunFails, WithTheSignalThatComesWhileItStarts)
{
    for (const auto number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
    {
        const TemporaryDirectory folder;
        const SilentSocket bus(folder.file("bus"));
        for (const auto& path : {folder.path().string(), folder.file("bus")})
        {
            std::filesystem::permissions(path, std::filesystem::perms::all);
        }
        Process simulator(
            this->simulator({"run", "--manager", GetParam().manager, "--bus",
                             "unix:path=" + folder.file("bus"), "--", "true"}),
            environment());
        bus.awaitConnection();
        simulator.signal(number);
        EXPECT_EQ(simulator.wait(), (Completed{128 + number, "", ""}));
        expectNoTraces();
    }
}

/** A run of `true` where systemd cannot be started: as root of a container. */
class RunWithoutSystemd : public testing::Test
{
  protected:
    void SetUp() override
    {
        // Only root gives up rights and stays root.
        SKIP_WITHOUT_OTHER_USERS();
    }

    Completed bmcsim(const std::vector<std::string>& options) const
    {
        std::vector<std::string> words{"setpriv", "--bounding-set=-sys_admin",
                                       fromEnvironment("WEXA_BMCSIM"), "run"};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {"--", "true"});
        const auto done = run(words, {"TMPDIR=" + temporary.path().string()});
        EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
        return done;
    }

    TemporaryDirectory temporary;
    std::string why = "a systemd manager of its own needs CAP_SYS_ADMIN, which "
                      "root lacks here";
};

TEST_F(RunWithoutSystemd, HasTheBuiltinManagerAndSaysWhy)
{
    const Completed done{0, "",
                         "wexa-bmcsim: the built-in manager takes the place of "
                         "systemd: " +
                             why + "\n"};
    EXPECT_EQ(bmcsim({}), done);
    EXPECT_EQ(bmcsim({"--manager", "auto"}), done);
}

TEST_F(RunWithoutSystemd, SaysNothingWhereTheBuiltinManagerIsAskedFor)
{
    EXPECT_EQ(bmcsim({"--manager", "builtin"}), (Completed{0, "", ""}));
}

TEST_F(RunWithoutSystemd, FailsWhereSystemdIsInsistedOn)
{
    EXPECT_EQ(bmcsim({"--manager", "systemd"}),
              (Completed{3, "",
                         "wexa-bmcsim: " + why +
                             "; --manager builtin works without systemd\n"}));
}

TEST(RunWhereSystemdIsNotInstalled, HasTheBuiltinManagerAndSaysWhy)
{
    SKIP_WITHOUT_MOUNTS();
    EXPECT_EQ(run({"unshare", "--mount", "sh", "-c",
                   "mount -t tmpfs none $(realpath /lib/systemd) && exec " +
                       fromEnvironment("WEXA_BMCSIM") + " run -- true"}),
              (Completed{0, "",
                         "wexa-bmcsim: the built-in manager takes the place of "
                         "systemd: systemd is not installed\n"}));
}

TEST(RunInARelativeDirectory, NamesItsBusByAWholePath)
{
    const TemporaryDirectory temporary;
    const auto done = run({"sh", "-c",
                           "cd " + temporary.path().string() + "; exec " +
                               fromEnvironment("WEXA_BMCSIM") +
                               " run --manager builtin -- sh -c 'echo "
                               "$DBUS_SYSTEM_BUS_ADDRESS'"},
                          {"TMPDIR=."});
    EXPECT_EQ(done.status, 0);
    EXPECT_TRUE(done.out.starts_with("unix:path=" + temporary.path().string()))
        << done.out;
}

TEST(RunInADirectoryThatCannotBeListed, Works)
{
    SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
    const TemporaryDirectory temporary;
    std::filesystem::permissions(temporary.path(),
                                 std::filesystem::perms(01733));
    EXPECT_EQ(run({"setpriv", "--reuid=65534", "--regid=65534",
                   "--clear-groups", fromEnvironment("WEXA_BMCSIM"), "run",
                   "--manager", "builtin", "--", "true"},
                  {"TMPDIR=" + temporary.path().string()}),
              (Completed{0, "", ""}));
}

/** Where /proc/self/cgroup shows "/..". */
TEST(RunOutsideOfItsControlGroups, FailsWithTheReason)
{
    SKIP_WITHOUT_SYSTEMD();
    const TemporaryDirectory temporary;
    const auto group = temporary.path().filename().string();
    const auto done =
        run({"sh", "-c",
             "all=$(findmnt -nro TARGET -t cgroup2 | head -n 1); "
             "mkdir $all/" +
                 group + "; echo $$ >$all/" + group +
                 "/cgroup.procs; unshare --cgroup sh -c \"echo \\$\\$ "
                 ">$all/cgroup.procs; exec " +
                 fromEnvironment("WEXA_BMCSIM") +
                 " run --manager systemd -- true\"; status=$?; echo $$ "
                 ">$all/cgroup.procs; rmdir $all/" +
                 group + "; exit $status"},
            {"TMPDIR=" + temporary.path().string()});
    EXPECT_EQ(done, (Completed{3, "",
                               "wexa-bmcsim: systemd's manager does not start: "
                               "the own control group, /.., cannot be seen "
                               "from here; --manager builtin works without "
                               "systemd\n"}));
    EXPECT_EQ(std::filesystem::is_empty(temporary.path()), true);
}

/** As `docker run --user` has it. */
TEST(RunOfAUser, FailsWhereTheUserHasNoAccount)
{
    SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
    const TemporaryDirectory temporary;
    std::filesystem::permissions(temporary.path(), std::filesystem::perms::all);
    EXPECT_EQ(run({"setpriv", "--reuid=64123", "--regid=64123",
                   "--clear-groups", fromEnvironment("WEXA_BMCSIM"), "run",
                   "--manager", "builtin", "--", "true"},
                  {"TMPDIR=" + temporary.path().string()}),
              (Completed{3, "",
                         "wexa-bmcsim: dbus-daemon serves no user without an "
                         "account; add the user 64123 to /etc/passwd\n"}));
    EXPECT_EQ(std::filesystem::is_empty(temporary.path()), true);
}

// What a sanitizer needs is not there.
#ifndef WEXA_SANITIZED
/** Users that may not have many processes. */
TEST(RunOfAUser, FailsWhereNoProcessesAreLeft)
{
    SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
    const TemporaryDirectory temporary;
    std::filesystem::permissions(temporary.path(), std::filesystem::perms::all);
    for (auto processes = 1; processes <= 4; ++processes)
    {
        const auto done =
            run({"setpriv", "--reuid=64123", "--regid=64123", "--clear-groups",
                 "prlimit", "--nproc=" + std::to_string(processes),
                 fromEnvironment("WEXA_BMCSIM"), "run", "--manager", "builtin",
                 "--", "true"},
                {"TMPDIR=" + temporary.path().string()});
        EXPECT_EQ(done.status, 3);
        EXPECT_THAT(done.err, StartsWith("wexa-bmcsim: "));
        EXPECT_EQ(std::filesystem::is_empty(temporary.path()), true);
    }
}
#endif

} // namespace
