// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace fuzz
{

/** A second opinion on replies: plain sd-bus reads what the services of
 *  `Platform::answers` answer. Nothing where the call fails, or the reply holds
 *  something else. The keys are those of the answers.
 */
class PlainReader
{
  public:
    struct Device
    {
        std::string path;
        wexa::core::PropertyMap properties;
    };

    using Registry = std::map<std::string, Device>;

    /** Null where the call fails. */
    test::Message reply(const std::string& key);
    std::optional<bool> boolean(const std::string& key);
    std::optional<std::string> text(const std::string& key);
    /** A number inside a variant; 0 where that holds something else. */
    std::optional<std::uint16_t> number(const std::string& key);
    std::optional<wexa::core::PropertyMap> properties(const std::string& key);
    std::optional<Registry> registry();

  private:
    Platform platform{[](const std::string&) {}};
};

} // namespace fuzz
