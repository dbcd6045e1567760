// SPDX-License-Identifier: Apache-2.0
#include <sdbusplus/exception.hpp>

#include <stdexcept>
#include <utility>

namespace sdbusplus
{

SdBusImpl sdbus_impl;

namespace exception
{

namespace
{

sd_bus_error fromErrno(int number)
{
    sd_bus_error error{};
    sd_bus_error_set_errno(&error, number);
    if (!sd_bus_error_is_set(&error))
    {
        throw std::runtime_error("Failed to create SdBusError");
    }
    return error;
}

std::string describe(const char* prefix, const sd_bus_error& error)
{
    std::string text = prefix;
    for (const char* part : {error.name, error.message})
    {
        if (part != nullptr)
        {
            text.append(": ").append(part);
        }
    }
    return text;
}

} // namespace

void exception::unused() const noexcept {}

SdBusError::SdBusError(int number, const char* prefix, SdBusInterface* tag) :
    error(fromErrno(number)), text(describe(prefix, error)), intf(tag)
{}

SdBusError::SdBusError(sd_bus_error* source, const char* prefix,
                       SdBusInterface* tag) :
    error(std::exchange(*source, {})), text(describe(prefix, error)), intf(tag)
{}

// Neither is noexcept, as published.
// NOLINTNEXTLINE(performance-noexcept-move-constructor)
SdBusError::SdBusError(SdBusError&& other) :
    error(std::exchange(other.error, {})), text(std::exchange(other.text, {})),
    intf(other.intf)
{}

// NOLINTNEXTLINE(performance-noexcept-move-constructor)
SdBusError& SdBusError::operator=(SdBusError&& other)
{
    if (this != &other)
    {
        sd_bus_error_free(&error);
        error = std::exchange(other.error, {});
        text = std::exchange(other.text, {});
        intf = other.intf;
    }
    return *this;
}

SdBusError::~SdBusError()
{
    sd_bus_error_free(&error);
}

const char* SdBusError::name() const noexcept
{
    return error.name;
}

const char* SdBusError::description() const noexcept
{
    return error.message;
}

const char* SdBusError::what() const noexcept
{
    return text.c_str();
}

int SdBusError::get_errno() const noexcept
{
    return sd_bus_error_get_errno(&error);
}

const sd_bus_error* SdBusError::get_error() const noexcept
{
    return &error;
}

} // namespace exception
} // namespace sdbusplus
