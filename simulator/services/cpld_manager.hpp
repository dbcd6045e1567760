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

    void bind(const std::string& components);
    void offerManager();
    void offerDevice(const CpldDevice& device);
    void failIfTold(bool isOfDevice) const;

    /** The bound devices as the registry tells them: what `record` makes of
     *  each, by component.
     */
    template <typename Record>
    auto registry(Record record) const;
    auto fullRegistry() const;
    std::string told(const CpldDevice& device) const;

    std::filesystem::path flash;
    std::vector<CpldDevice> bound;
    std::map<std::string, std::string> choices;
    std::optional<dbus::Offer> manager;
    std::vector<dbus::Offer> devices;
};

} // namespace bmcsim
