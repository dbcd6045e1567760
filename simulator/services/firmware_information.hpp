// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "offered_members.hpp"
#include "service.hpp"

namespace bmcsim
{

/** Holds the versions that are staged, as D-Bus properties. */
class FirmwareInformation final : public Service
{
  public:
    explicit FirmwareInformation(const std::string& busAddress);

    std::vector<std::string> settings() const override;
    void set(const std::string& name, const std::string& value) override;

  private:
    void changed() override;
    std::map<std::string, std::string> values() const override;

    void stage(const std::string& property, const std::string& version);

    OfferedMembers offered;
    std::map<std::string, std::string> staged;
    std::optional<dbus::Offer> object;
};

} // namespace bmcsim
