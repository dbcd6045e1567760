// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <sdbusplus/exception.hpp>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <variant>

/** How an operation ended, as a text that is the same for the same ends. */
namespace fuzz
{

/** What the reference throws where the library throws SdBusError. */
struct Failure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

std::string textOf(int result);
std::string textOf(bool result);
std::string textOf(const std::string& result);
std::string textOf(const wexa::core::PropertyMap& result);
std::string textOf(const wexa::core::UploadResult& result);
std::string textOf(const wexa::core::CpldComponentMap& result);

/** Runs `operation`: its result, or what left it. */
template <typename Operation>
std::string outcomeOf(Operation&& operation)
{
    try
    {
        return textOf(operation());
    }
    catch (const Failure& thrown)
    {
        return std::string("SdBusError ") + thrown.what();
    }
    catch (const sdbusplus::exception::SdBusError& thrown)
    {
        return std::string("SdBusError ") + thrown.what();
    }
    catch (const std::filesystem::filesystem_error&)
    {
        return "filesystem_error";
    }
    catch (const std::bad_variant_access&)
    {
        return "bad_variant_access";
    }
    catch (const std::invalid_argument&)
    {
        return "invalid_argument";
    }
}

} // namespace fuzz
