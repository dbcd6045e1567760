// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include <cerrno>
#include <stdexcept>

namespace bmcsim::dbus
{

using std::chrono::steady_clock;

Connection::Connection(const std::string& address)
{
    constexpr auto what = "cannot connect to the bus";
    sd_bus* made = nullptr;
    require(sd_bus_new(&made), what);
    bus.reset(made);
    require(sd_bus_set_address(made, address.c_str()), what);
    require(sd_bus_set_bus_client(made, 1), what);
    // The bus says who may call; sd-bus is not to ask for capabilities too.
    require(sd_bus_set_trusted(made, 1), what);
    require(sd_bus_add_filter(made, nullptr, heard, this), what);
    require(sd_bus_start(made), what);
}

void Connection::takeName(const std::string& name)
{
    const auto result = sd_bus_request_name(bus.get(), name.c_str(), 0);
    if (result == -EEXIST)
    {
        failAsTaken(name);
    }
    require(result, "cannot take a name on the bus");
}

void Connection::releaseName(const std::string& name)
{
    require(sd_bus_release_name(bus.get(), name.c_str()),
            "cannot release a name on the bus");
}

Message Connection::newCall(const std::string& service, const std::string& path,
                            const std::string& interface,
                            const std::string& member) const
{
    sd_bus_message* made = nullptr;
    require(sd_bus_message_new_method_call(bus.get(), &made, service.c_str(),
                                           path.c_str(), interface.c_str(),
                                           member.c_str()),
            "cannot make a call");
    return Message(made);
}

Message Connection::ask(const Message& call) const
{
    sd_bus_error error{};
    sd_bus_message* answer = nullptr;
    const auto result = sd_bus_call(bus.get(), call.get(), 0, &error, &answer);
    if (sd_bus_error_is_set(&error) != 0)
    {
        const Error failure(error.name,
                            error.message == nullptr ? "" : error.message);
        sd_bus_error_free(&error);
        throw failure;
    }
    require(result, "cannot call");
    return Message(answer);
}

Message Connection::newSignal(const std::string& path,
                              const std::string& interface,
                              const std::string& member) const
{
    sd_bus_message* made = nullptr;
    require(sd_bus_message_new_signal(bus.get(), &made, path.c_str(),
                                      interface.c_str(), member.c_str()),
            "cannot make a signal");
    return Message(made);
}

void Connection::tellChanges(const std::string& path,
                             const std::string& interface,
                             const std::vector<std::string>& properties) const
{
    std::vector<char*> names;
    names.reserve(properties.size() + 1);
    for (const auto& property : properties)
    {
        names.push_back(const_cast<char*>(property.c_str()));
    }
    names.push_back(nullptr);
    require(sd_bus_emit_properties_changed_strv(
                bus.get(), path.c_str(), interface.c_str(),
                properties.empty() ? nullptr : names.data()),
            "cannot signal changed properties");
}

int Connection::heard(sd_bus_message* message, void* connection, sd_bus_error*)
{
    std::uint8_t type = 0;
    sd_bus_message_get_type(message, &type);
    auto& self = *static_cast<Connection*>(connection);
    if (message == self.due.get())
    {
        self.due = Message(nullptr);
        return 0;
    }
    if (type != SD_BUS_MESSAGE_METHOD_CALL || self.pace != Pace::late)
    {
        return 0;
    }
    self.waiting.push_back(
        {Message(sd_bus_message_ref(message)), steady_clock::now() + slowness});
    return 1;
}

/** Has a call that has waited for long enough handled next; whether one has. */
bool Connection::releaseCall()
{
    // One after another: the next would take the place of the one to come.
    if (due.get() != nullptr)
    {
        return true;
    }
    if (waiting.empty() ||
        (pace == Pace::late && steady_clock::now() < waiting.front().until))
    {
        return false;
    }
    due = waiting.front().call;
    waiting.pop_front();
    return sd_bus_enqueue_for_read(bus.get(), due.get()) >= 0;
}

bool Connection::serve()
{
    if (isLost || pace == Pace::never || (!releaseCall() && isFull()))
    {
        return false;
    }
    const auto result = sd_bus_process(bus.get(), nullptr);
    // Without its bus the rest of the BMC goes on.
    isLost = result < 0;
    return result > 0;
}

pollfd Connection::watched() const
{
    if (isLost || pace == Pace::never || isFull())
    {
        return {-1, 0, 0};
    }
    const auto events = sd_bus_get_events(bus.get());
    return {sd_bus_get_fd(bus.get()),
            static_cast<short>(events < 0 ? POLLIN : events), 0};
}

std::optional<steady_clock::time_point> Connection::deadline() const
{
    return isLost || pace == Pace::never || waiting.empty()
               ? std::nullopt
               : std::optional(waiting.front().until);
}

void failAsTaken(const std::string& name)
{
    throw std::runtime_error("the name " + name +
                             " is taken on the bus; end the program that has "
                             "it, or use another bus");
}

} // namespace bmcsim::dbus
