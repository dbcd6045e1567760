// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service.hpp"

#include <cstdint>

namespace bmcsim
{

/** Judges images by structure, kind and digest. */
class SecurityManager final : public Service
{
  public:
    explicit SecurityManager(const std::string& busAddress);

  private:
    void changed() override;
    void offer(const std::string& member, std::uint16_t kind);
    void answer(sdbus::MethodCall call, std::uint16_t kind);

    std::unique_ptr<sdbus::IObject> object;
};

} // namespace bmcsim
