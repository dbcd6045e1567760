// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "descriptor.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace bmcsim
{

/** Where everything of one simulated BMC lies. */
class PrivateDirectory
{
  public:
    explicit PrivateDirectory(std::filesystem::path root) :
        root(std::move(root))
    {}

    /** Those of all simulated BMCs of this user that run, below TMPDIR or
     *  /tmp.
     */
    static std::vector<PrivateDirectory> running();

    /** Removes those, at the same place, whose processes were all killed.
     *
     *  @param prepare  is called with each before it goes
     */
    static void removeDead(void (*prepare)(const PrivateDirectory&));

    /** Removes it and all it holds, except what is mounted there. It stays,
     *  almost empty, where its control group does.
     */
    void remove() const noexcept;

    const std::filesystem::path& path() const
    {
        return root;
    }

    /** The runtime directory of the command. */
    std::filesystem::path runtime() const
    {
        return root / "run";
    }

    /** The runtime directory of systemd. Its private socket, which lies here,
     *  is not for the command: systemd turns processes of other process
     *  namespaces away there.
     */
    std::filesystem::path managerRuntime() const
    {
        return root / "manager";
    }

    std::filesystem::path busSocket() const
    {
        return runtime() / "bus";
    }

    std::string busAddress() const
    {
        return "unix:path=" + busSocket().string();
    }

    /** The manager's way to the bus, which passes the relay. */
    std::filesystem::path managerBus() const
    {
        return managerRuntime() / "bus";
    }

    std::string managerBusAddress() const
    {
        return "unix:path=" + managerBus().string();
    }

    std::filesystem::path units() const
    {
        return root / "units";
    }

    /** Holds nothing, ever. */
    std::filesystem::path empty() const
    {
        return root / "empty";
    }

    std::filesystem::path flash() const
    {
        return root / "flash";
    }

    std::string log(const std::string& name) const
    {
        return root / "log" / name;
    }

    /** Holds the control group in which its own was made, as long as that is
     *  there.
     */
    std::filesystem::path groupRecord() const
    {
        return root / "control-group";
    }

    /** What tells this simulated BMC from others on the same machine. */
    std::string name() const
    {
        return root.filename();
    }

  private:
    std::filesystem::path root;
};

/** A new private directory, removed with the object. */
class OwnedDirectory
{
  public:
    /** Makes it below TMPDIR or /tmp, for its owner only.
     *
     *  @throw std::runtime_error  it cannot be made, or its sockets would
     *         have names that are too long
     */
    OwnedDirectory();
    ~OwnedDirectory();

    OwnedDirectory(const OwnedDirectory&) = delete;
    OwnedDirectory& operator=(const OwnedDirectory&) = delete;

    const PrivateDirectory& where() const
    {
        return directory;
    }

  private:
    void make();

    PrivateDirectory directory;
    /** Open here and in all processes forked from here, until they execute
     *  another program: the directory is in use.
     */
    Descriptor lock;
};

} // namespace bmcsim
