// SPDX-License-Identifier: Apache-2.0
#include "library_test.hpp"

#include "systemd_manager.hpp"

namespace test
{

static std::string uniqueName(sd_bus* connection)
{
    const char* name = nullptr;
    check(sd_bus_get_unique_name(connection, &name), "sd_bus_get_unique_name");
    return name;
}

LibraryTest::LibraryTest() : traffic(bus, uniqueName(raw.get())) {}

void LibraryTest::offer(const std::string& name, std::vector<Method> methods)
{
    services.erase(name);
    services.emplace(name, std::make_unique<ScriptedService>(
                               bus, transcript, name, std::move(methods)));
}

void LibraryTest::setTimeout(std::chrono::microseconds timeout)
{
    check(sd_bus_set_method_call_timeout(
              raw.get(), static_cast<std::uint64_t>(timeout.count())),
          "sd_bus_set_method_call_timeout");
}

std::string LibraryTest::rememberedUnit()
{
    auto signal = jobRemoved(1, "any.service", "done");
    events();
    manager.onBMCStateChange(signal);

    const std::string label = "out: serviceFile: ";
    auto line = events().back();
    line.pop_back();
    return line.substr(label.size());
}

sdbusplus::message_t
LibraryTest::signalWith(const std::function<void(sd_bus_message*)>& append)
{
    auto signal = systemd_manager::newJobRemoved(raw.get());
    append(signal.get());
    // Only a sealed message can be read.
    check(sd_bus_message_seal(signal.get(), 1, 0), "sd_bus_message_seal");
    return sdbusplus::message_t{signal.release(), std::false_type{}};
}

sdbusplus::message_t LibraryTest::jobRemoved(std::uint32_t id,
                                             const std::string& unit,
                                             const std::string& result)
{
    return signalWith([&](sd_bus_message* signal) {
        check(sd_bus_message_append(signal, "uoss", id,
                                    "/org/freedesktop/systemd1/job/7",
                                    unit.c_str(), result.c_str()),
              "sd_bus_message_append");
    });
}

sdbusplus::bus_t unconnected()
{
    return {nullptr, std::false_type{}};
}

} // namespace test
