// SPDX-License-Identifier: Apache-2.0
#include "flash_unit.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <sdbusplus/bus/match.hpp>

#include <chrono>
#include <functional>
#include <iostream>
#include <stdexcept>

using sdbusplus::message::message;
using Match = sdbusplus::bus::match::match;
using wexa::core::FWManagerInternal;

class Daemon
{
  public:
    /** The exit status: 0 flashed, 1 not flashed, 3 not known. */
    int update(const std::string& image)
    {
        bus.request_name("com.WEXA.FirmwareManager"); // one daemon at a time
        call(bus, dbus, "/", dbus, "GetNameOwner", systemd).read(owner);
        call(bus, systemd, "/org/freedesktop/systemd1", systemd + ".Manager",
             "Subscribe");

        FlashUnit unit(bus, "obmc-flash-bmc-rot2@bmc_rot2", image);
        if (unit.isBusy())
        {
            throw std::runtime_error("another image is being flashed");
        }
        const auto type = FWManagerInternal::UPLOAD_IMG_BMC;
        if (library.processUploadBmcImage(image, type, "").empty())
        {
            return 1;
        }
        // What it returns does not tell whether systemd starts the flash.
        library.UpdateBMC(image, wexa::core::VersionPurpose::BMC, "");
        const auto status = awaitEnd(unit);
        if (status == 0)
        {
            library.onBMCUpdateSuccess();
        }
        return status;
    }

  private:
    int awaitEnd(FlashUnit& unit)
    {
        for (auto silences = 0;;)
        {
            try
            {
                // systemd answers in order: to this after the launch.
                const auto busy = unit.isBusy();
                while (bus.process_discard())
                {}
                if (!busy)
                {
                    return outcome != 2 && unit.hasFlashed() ? 0 : 1;
                }
                silences = 0;
                bus.wait(std::chrono::seconds(5)); // or until a signal comes
            }
            catch (const std::exception& error)
            {
                if (++silences == 24) // each of 25 s: ten minutes
                {
                    std::cerr << "daemon: a flash may run: " << error.what()
                              << '\n';
                    return 3;
                }
            }
        }
    }

    /** Any user may send a signal to this connection alone, and that passes
     *  every match: the sender's unique name tells who sent it.
     */
    Match hear(const std::string& rule, const std::string& sender,
               std::function<void(message&)> handle)
    {
        return {bus, "type='signal'," + rule, [=, &sender](message& signal) {
                    try
                    {
                        if (sender == signal.get_sender())
                        {
                            handle(signal);
                        }
                    }
                    catch (const std::exception& error) // sd-bus is C
                    {
                        std::cerr << "daemon: " << error.what() << '\n';
                    }
                }};
    }

    sdbusplus::bus::bus bus = sdbusplus::bus::new_default();
    FWManagerInternal library{bus};
    int outcome = 0;
    std::string owner; // who has systemd's name now
    Match owners = hear("member='NameOwnerChanged',arg0='" + systemd + "'",
                        dbus, [this](message& change) {
                            std::string name;
                            std::string before;
                            change.read(name, before, owner);
                        });
    Match jobs = hear("member='JobRemoved'", owner, [this](message& job) {
        outcome = outcome == 0 ? library.onBMCStateChange(job) : outcome;
    });
};

int main(int count, char** arguments)
{
    if (count != 2)
    {
        std::cerr << "usage: daemon IMAGE\n";
        return 2;
    }
    try
    {
        return Daemon().update(arguments[1]);
    }
    catch (const std::exception& error) // before the launch
    {
        std::cerr << "daemon: " << error.what() << '\n';
        return 1;
    }
}
