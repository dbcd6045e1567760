// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cpld_device.hpp"
#include "service.hpp"

#include <filesystem>

namespace bmcsim
{

/** Keeps the registry of the bound CPLDs, and an object of each. */
class CpldManager final : public Service
{
  public:
    /** @param flash  the directory of the flash partitions */
    CpldManager(const std::string& busAddress, std::filesystem::path flash);

    std::vector<std::string> settings() const override;
    void set(const std::string& name, const std::string& value) override;

  private:
    void changed() override;
    std::map<std::string, std::string> values() const override;

    std::string registryType() const;
    void bind(const std::string& components);
    void offerDevice(const CpldDevice& device);
    void answer(sdbus::MethodCall& call,
                const std::function<void(sdbus::MethodReply&)>& append);
    void appendRegistry(sdbus::MethodReply& reply) const;
    void appendRecord(sdbus::MethodReply& reply,
                      const CpldDevice& device) const;
    std::string told(const CpldDevice& device) const;

    std::filesystem::path flash;
    std::vector<CpldDevice> bound;
    std::map<std::string, std::string> choices;
    std::unique_ptr<sdbus::IObject> manager;
    std::vector<std::unique_ptr<sdbus::IObject>> devices;
};

} // namespace bmcsim
