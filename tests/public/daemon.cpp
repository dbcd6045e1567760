// SPDX-License-Identifier: Apache-2.0
#include <wexa/core/fwmanager_internal.hpp>

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

using wexa::core::FWManagerInternal;

int main(int, char** arguments)
{
    const std::string image = arguments[1];
    auto bus = sdbusplus::bus::new_default();
    FWManagerInternal manager(bus);

    // systemd tells only those who subscribed that a job ended.
    auto subscribe = bus.new_method_call(
        "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
        "org.freedesktop.systemd1.Manager", "Subscribe");
    bus.call(subscribe);
    int outcome = 0;
    const sdbusplus::bus::match::match jobs(
        bus,
        "type='signal',sender='org.freedesktop.systemd1',"
        "interface='org.freedesktop.systemd1.Manager',member='JobRemoved'",
        [&](sdbusplus::message::message& job) {
            if (outcome == 0)
            {
                outcome = manager.onBMCStateChange(job);
            }
        });

    const auto uploaded = manager.processUploadBmcImage(
        image, FWManagerInternal::UPLOAD_IMG_BMC, "");
    if (uploaded.empty() ||
        manager.UpdateBMC(image, wexa::core::VersionPurpose::BMC, "") != 0)
    {
        return 1;
    }
    while (outcome == 0)
    {
        if (!bus.process_discard())
        {
            bus.wait();
        }
    }
    if (outcome == 1)
    {
        manager.onBMCUpdateSuccess();
    }
    return outcome == 1 ? 0 : 1;
}
