// SPDX-License-Identifier: Apache-2.0
#include "bus_program.hpp"
#include "bytes.hpp"
#include "private_bus.hpp"
#include "process.hpp"

namespace test
{

namespace
{

class DbusDaemon : public BusProgram
{
  public:
    explicit DbusDaemon(const std::string& directory) : directory(directory)
    {
        configure("");
        daemon = std::make_unique<Process>(std::vector<std::string>{
            "dbus-daemon", "--nofork", "--config-file=" + configuration(),
            "--print-address=1"});
        // It prints its address once it listens.
        daemon->awaitOutput("\n");
    }

    void refuse(const std::string& service) override
    {
        configure(service.empty()
                      ? ""
                      : "<deny send_type=\"method_call\" send_destination=\"" +
                            service + "\"/>");
        const auto connection = connectTo("unix:path=" + directory + "/bus");
        check(sd_bus_call_method(connection.get(), "org.freedesktop.DBus",
                                 "/org/freedesktop/DBus",
                                 "org.freedesktop.DBus", "ReloadConfig",
                                 nullptr, nullptr, nullptr),
              "ReloadConfig");
    }

    std::string serviceUnknown(const std::string& service) const override
    {
        return "org.freedesktop.DBus.Error.ServiceUnknown: The name " +
               service + " was not provided by any .service files";
    }

    std::string noReply() const override
    {
        return "org.freedesktop.DBus.Error.NoReply: Message recipient "
               "disconnected from message bus without replying";
    }

    std::string_view accessDeniedIn(std::string_view text) const override
    {
        const auto begin = text.find("org.freedesktop.DBus.Error.AccessDenied: "
                                     "Rejected send message, ");
        const auto end = text.find(')', text.find(" destination=", begin));
        return begin == text.npos || end == text.npos
                   ? std::string_view()
                   : text.substr(begin, end + 1 - begin);
    }

    void kill() override
    {
        daemon.reset();
    }

  private:
    std::string configuration() const
    {
        return directory + "/bus.conf";
    }

    void configure(const std::string& furtherPolicy) const
    {
        writeBytes(configuration(), R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)" + directory + R"(/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
    )" + furtherPolicy + R"(
  </policy>
</busconfig>
)");
    }

    std::string directory;
    std::unique_ptr<Process> daemon;
};

} // namespace

std::unique_ptr<BusProgram> startDbusDaemon(const std::string& directory)
{
    return std::make_unique<DbusDaemon>(directory);
}

} // namespace test
