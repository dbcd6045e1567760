// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "offered_members.hpp"
#include "service.hpp"

#include <cstdint>

namespace bmcsim
{

/** Judges images by structure, kind and digest. */
class SecurityManager final : public Service
{
  public:
    explicit SecurityManager(const std::string& busAddress);

    std::vector<std::string> settings() const override;
    void set(const std::string& name, const std::string& value) override;

  private:
    void changed() override;
    std::map<std::string, std::string> values() const override;
    void answer(dbus::Call& call, std::uint16_t kind);

    OfferedMembers offered;
    std::optional<dbus::Offer> object;
};

} // namespace bmcsim
