// SPDX-License-Identifier: Apache-2.0
#include "scripted_service.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

namespace test
{

namespace reply
{

Reply boolean(bool value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "b", static_cast<int>(value));
    };
}

Reply text(std::string value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "s", value.c_str());
    };
}

Reply objectPath(std::string value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "o", value.c_str());
    };
}

Reply nothing()
{
    return
        [](sd_bus_message* call) { sd_bus_reply_method_return(call, nullptr); };
}

Reply textVariant(std::string value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "v", "s", value.c_str());
    };
}

Reply shortVariant(std::uint16_t value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "v", "q", value);
    };
}

Reply numberVariant(std::uint32_t value)
{
    return [value](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "v", "u", value);
    };
}

Reply booleanAndText(bool value, std::string more)
{
    return [value, more](sd_bus_message* call) {
        sd_bus_reply_method_return(call, "bs", static_cast<int>(value),
                                   more.c_str());
    };
}

Reply built(std::function<void(sd_bus_message* reply)> append)
{
    return [append](sd_bus_message* call) {
        sd_bus_message* reply = nullptr;
        check(sd_bus_message_new_method_return(call, &reply),
              "sd_bus_message_new_method_return");
        append(reply);
        check(sd_bus_message_send(reply), "sd_bus_message_send");
        sd_bus_message_unref(reply);
    };
}

Reply error(std::string name, std::string text)
{
    return [name, text](sd_bus_message* call) {
        sd_bus_reply_method_errorf(call, name.c_str(), "%s", text.c_str());
    };
}

Reply silence()
{
    return [](sd_bus_message*) {};
}

Reply hangUp()
{
    return [](sd_bus_message* call) {
        sd_bus_close(sd_bus_message_get_bus(call));
    };
}

} // namespace reply

ScriptedService::ScriptedService(const PrivateBus& bus, Transcript& transcript,
                                 const std::string& name,
                                 std::vector<Method> offered) :
    connection(bus.connect()), transcript(transcript), name(name),
    methods(std::move(offered)), stop(check(eventfd(0, EFD_CLOEXEC), "eventfd"))
{
    std::vector<std::string> paths;
    for (const auto& method : methods)
    {
        if (std::ranges::find(paths, method.path) == paths.end())
        {
            paths.push_back(method.path);
            check(sd_bus_add_object(connection.get(), nullptr,
                                    method.path.c_str(), dispatch, this),
                  "sd_bus_add_object");
        }
    }
    check(sd_bus_request_name(connection.get(), name.c_str(), 0),
          "sd_bus_request_name");
    thread = std::thread(&ScriptedService::serve, this);
}

ScriptedService::~ScriptedService()
{
    eventfd_write(stop, 1);
    thread.join();
    close(stop);
    // Waits for the bus: the next call does not reach what is going away.
    sd_bus_release_name(connection.get(), name.c_str());
}

int ScriptedService::dispatch(sd_bus_message* call, void* userdata,
                              sd_bus_error*)
{
    auto& service = *static_cast<ScriptedService*>(userdata);
    for (const auto& method : service.methods)
    {
        if (method.path == sd_bus_message_get_path(call) &&
            sd_bus_message_is_method_call(call, method.interface.c_str(),
                                          method.member.c_str()) > 0)
        {
            service.transcript.note("call: " + method.member);
            method.reply(call);
            return 1;
        }
    }
    return 0;
}

void ScriptedService::serve()
{
    for (;;)
    {
        int worked = 0;
        while ((worked = sd_bus_process(connection.get(), nullptr)) > 0)
        {
        }
        if (worked < 0)
        {
            return;
        }
        pollfd waiting[] = {{sd_bus_get_fd(connection.get()), POLLIN, 0},
                            {stop, POLLIN, 0}};
        poll(waiting, 2, -1);
        if (waiting[1].revents != 0)
        {
            return;
        }
    }
}

} // namespace test
