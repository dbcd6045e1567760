// SPDX-License-Identifier: Apache-2.0
#include <sdbusplus/exception.hpp>

#include <utility>

namespace sdbusplus::exception
{

static sd_bus_error errorOf(int number)
{
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_error_set_errno(&error, number);
    return error;
}

static std::string describe(const char* prefix, const sd_bus_error& error)
{
    std::string text = prefix;
    for (const auto* part : {error.name, error.message})
    {
        if (part != nullptr)
        {
            text.append(": ").append(part);
        }
    }
    return text;
}

SdBusError::SdBusError(int number, const char* prefix) :
    error(errorOf(number)), text(describe(prefix, error))
{}

SdBusError::SdBusError(sd_bus_error* filled, const char* prefix) :
    error(std::exchange(*filled, SD_BUS_ERROR_NULL)),
    text(describe(prefix, error))
{}

SdBusError::SdBusError(SdBusError&& other) noexcept :
    error(std::exchange(other.error, SD_BUS_ERROR_NULL)),
    text(std::move(other.text))
{}

SdBusError& SdBusError::operator=(SdBusError&& other) noexcept
{
    std::swap(error, other.error);
    std::swap(text, other.text);
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

} // namespace sdbusplus::exception
