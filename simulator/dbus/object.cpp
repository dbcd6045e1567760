// SPDX-License-Identifier: Apache-2.0
#include "object.hpp"

#include <algorithm>

namespace bmcsim::dbus
{

struct Offer::State
{
    Members members;
    Find find;
    void* subject = nullptr;
    std::vector<sd_bus_vtable> table;
    sd_bus_slot* slot = nullptr;
};

namespace
{

/** What sd-bus calls for. In its callbacks the slot is the offer's; the last
 *  argument before the error is the subject where several objects share it.
 */
Offer::State& offerOf(sd_bus* bus)
{
    return *static_cast<Offer::State*>(
        sd_bus_slot_get_userdata(sd_bus_get_current_slot(bus)));
}

void* subjectOf(const Offer::State& offer, void* found)
{
    return offer.find ? found : offer.subject;
}

template <typename List>
auto& named(List& members, const std::string& name)
{
    return *std::ranges::find(
        members, name, [](const auto& member) -> auto& { return member.name; });
}

/** No exception may pass through sd-bus. */
template <typename Action>
int guarded(sd_bus_error* error, Action&& action)
{
    try
    {
        action();
        return 1;
    }
    catch (const Error& failure)
    {
        return sd_bus_error_set(error, failure.name().c_str(), failure.what());
    }
    catch (const std::exception& failure)
    {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, failure.what());
    }
}

int callMethod(sd_bus_message* message, void* found, sd_bus_error* error)
{
    return guarded(error, [&] {
        auto& offer = offerOf(sd_bus_message_get_bus(message));
        Call call(sd_bus_message_ref(message));
        named(offer.members.methods, call.member())
            .answer(subjectOf(offer, found), call);
    });
}

int getProperty(sd_bus* bus, const char*, const char*, const char* property,
                sd_bus_message* reply, void* found, sd_bus_error* error)
{
    return guarded(error, [&] {
        const auto& offer = offerOf(bus);
        named(offer.members.properties, property)
            .get(subjectOf(offer, found), reply);
    });
}

int setProperty(sd_bus* bus, const char*, const char*, const char* property,
                sd_bus_message* value, void* found, sd_bus_error* error)
{
    return guarded(error, [&] {
        const auto& offer = offerOf(bus);
        named(offer.members.properties, property)
            .set(subjectOf(offer, found), value);
    });
}

int findSubject(sd_bus* bus, const char* path, const char*, void*, void** found,
                sd_bus_error* error)
{
    auto isFound = false;
    const auto result = guarded(error, [&] {
        *found = offerOf(bus).find(path);
        isFound = *found != nullptr;
    });
    return result < 0 ? result : static_cast<int>(isFound);
}

std::uint64_t flagsOf(Changes changes)
{
    switch (changes)
    {
        case Changes::told:
            return SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE;
        case Changes::withoutValue:
            return SD_BUS_VTABLE_PROPERTY_EMITS_INVALIDATION;
        case Changes::never:
            return SD_BUS_VTABLE_PROPERTY_CONST;
        case Changes::untold:
            break;
    }
    return 0;
}

} // namespace

std::vector<sd_bus_vtable> Members::table() const
{
    std::vector<sd_bus_vtable> table{SD_BUS_VTABLE_START(0)};
    for (const auto& [name, in, out, answer] : methods)
    {
        table.push_back(SD_BUS_METHOD(name.c_str(), in.c_str(), out.c_str(),
                                      callMethod, 0));
    }
    for (const auto& [name, types] : signals)
    {
        table.push_back(SD_BUS_SIGNAL(name.c_str(), types.c_str(), 0));
    }
    for (const auto& [name, type, changes, get, set] : properties)
    {
        const auto flags = flagsOf(changes);
        if (set)
        {
            table.push_back(SD_BUS_WRITABLE_PROPERTY(name.c_str(), type.c_str(),
                                                     getProperty, setProperty,
                                                     0, flags));
        }
        else
        {
            table.push_back(SD_BUS_PROPERTY(name.c_str(), type.c_str(),
                                            getProperty, 0, flags));
        }
    }
    table.push_back(SD_BUS_VTABLE_END);
    return table;
}

Offer::Offer(const Connection& connection, const std::string& path,
             Members members, Find find, void* subject) :
    state(new State{std::move(members), std::move(find), subject, {}, nullptr})
{
    state->table = state->members.table();
    const auto* const interface = state->members.interface().c_str();
    const auto result =
        state->find
            ? sd_bus_add_fallback_vtable(
                  connection.get(), &state->slot, path.c_str(), interface,
                  state->table.data(), findSubject, state.get())
            : sd_bus_add_object_vtable(connection.get(), &state->slot,
                                       path.c_str(), interface,
                                       state->table.data(), state.get());
    require(result, "cannot offer an object");
}

void Offer::Delete::operator()(State* state) const
{
    sd_bus_slot_unref(state->slot);
    delete state;
}

} // namespace bmcsim::dbus
