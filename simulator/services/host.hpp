// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service.hpp"

#include <cstdint>

namespace bmcsim
{

/** Tells which board this is. */
class Host final : public Service
{
  public:
    explicit Host(const std::string& busAddress);

    std::vector<std::string> settings() const override
    {
        return {"board-id"};
    }

    void set(const std::string& name, const std::string& value) override;

  private:
    void changed() override;
    std::map<std::string, std::string> values() const override;

    std::uint16_t board = 1;
    std::optional<dbus::Offer> object;
};

} // namespace bmcsim
