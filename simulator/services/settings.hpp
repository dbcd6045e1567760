// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service.hpp"

namespace bmcsim
{

/** Keeps when the user wants an update applied; over D-Bus too. */
class Settings final : public Service
{
  public:
    explicit Settings(const std::string& busAddress);

    std::vector<std::string> settings() const override
    {
        return {"apply-time"};
    }

    /** Any text: what holds no "." is made a name of the enumeration. */
    void set(const std::string& name, const std::string& value) override;

  private:
    void changed() override;
    std::map<std::string, std::string> values() const override;

    std::string applyTime;
    std::optional<dbus::Offer> object;
};

} // namespace bmcsim
