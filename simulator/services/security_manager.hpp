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
    void offer(const std::string& member, std::uint16_t kind);
    void answer(sdbus::MethodCall call, std::uint16_t kind);

    OfferedMembers offered;
    std::unique_ptr<sdbus::IObject> object;
};

} // namespace bmcsim
