// SPDX-License-Identifier: Apache-2.0
#include "flash_unit.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <charconv>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>

using sdbusplus::message_t;
using Match = sdbusplus::bus::match_t;
using wexa::core::FWManagerInternal;

using Clock = std::chrono::steady_clock;

class Daemon
{
  public:
    /** @param patience  how long systemd may be away while a flash runs */
    explicit Daemon(std::chrono::seconds patience) : patience(patience) {}

    /** The exit status: 0 flashed, 1 not flashed, 3 not known. */
    int update(const std::string& image)
    {
        // One daemon at a time; request_name() may take the name from another.
        constexpr std::uint32_t doNotQueue = 4;
        std::uint32_t reply = 0;
        call(bus, dbus, "/", dbus, "RequestName",
             std::string("com.WEXA.FirmwareManager"), doNotQueue)
            .read(reply);
        if (reply != 1)
        {
            throw std::runtime_error("another daemon runs already");
        }
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
        try
        {
            // systemd answers in order: to this after the launch.
            while (ask([&] { return unit.isBusy(); }))
            {
                bus.wait(std::chrono::seconds(5)); // or until a signal comes
            }
            const auto flashed = ask([&] { return unit.hasFlashed(); });
            return outcome != 2 && flashed ? 0 : 1;
        }
        catch (const std::exception& error)
        {
            std::cerr << "daemon: not known whether it flashed: "
                      << error.what() << '\n';
            return 3;
        }
    }

    /** What systemd answers, after the signals that it sent before. Asks
     *  again while systemd is away; throws where it stays away, has
     *  forgotten the unit, or the bus ends.
     */
    bool ask(const std::function<bool()>& question)
    {
        const auto deadline = Clock::now() + patience;
        for (;;)
        {
            try
            {
                const auto answer = question();
                handleSignals();
                return answer;
            }
            catch (const sdbusplus::exception_t& error)
            {
                // An error of its own is an answer: it forgot the unit.
                if (Clock::now() >= deadline ||
                    std::string(error.name()).starts_with(systemd))
                {
                    throw;
                }
            }
            handleSignals();
            bus.wait(std::chrono::seconds(1));
        }
    }

    void handleSignals()
    {
        while (bus.process_discard())
        {
        }
    }

    /** Any user may send a signal to this connection alone, and that passes
     *  every match: the sender's unique name tells who sent it.
     */
    Match hear(const std::string& rule, const std::string& sender,
               std::function<void(message_t&)> handle)
    {
        return {bus, "type='signal'," + rule, [=, &sender](message_t& signal) {
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

    std::chrono::seconds patience;
    sdbusplus::bus_t bus = sdbusplus::bus::new_default();
    FWManagerInternal library{bus};
    int outcome = 0;
    std::string owner; // who has systemd's name now
    Match owners = hear("member='NameOwnerChanged',arg0='" + systemd + "'",
                        dbus, [this](message_t& change) {
                            std::string name;
                            std::string before;
                            change.read(name, before, owner);
                        });
    Match jobs = hear("member='JobRemoved'", owner, [this](message_t& job) {
        outcome = outcome == 0 ? library.onBMCStateChange(job) : outcome;
    });
};

/** A number in digits; nothing where it is another text. */
std::optional<std::uint16_t> numberIn(const std::string& text)
{
    std::uint16_t number = 0;
    const auto* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number)
                                                     : std::nullopt;
}

int main(int count, char** arguments)
{
    const auto patience = numberIn(count == 3 ? arguments[2] : "600");
    if (count < 2 || count > 3 || !patience)
    {
        std::cerr << "usage: daemon IMAGE [SECONDS]\n";
        return 2;
    }
    try
    {
        // Keeps the bus name until the process has ended: systemd terminates a
        // daemon that gives its name up, and its exit status is lost.
        static auto& daemon = *new Daemon(std::chrono::seconds(*patience));
        return daemon.update(arguments[1]);
    }
    catch (const std::exception& error) // before the launch
    {
        std::cerr << "daemon: " << error.what() << '\n';
        return 1;
    }
}
