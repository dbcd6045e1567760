// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_unit.hpp"
#include "private_directory.hpp"
#include "unit_manager.hpp"

#include <cstdint>
#include <map>
#include <memory>

namespace bmcsim
{

/** Answers for flash units as systemd's manager does, where there is none.
 *
 *  It offers what is needed to start and stop a flash, to find its unit and to
 *  learn how it ended: methods, the signals JobNew and JobRemoved, and objects
 *  of the units with their properties and PropertiesChanged.
 */
class BuiltinManager : public UnitManager
{
  public:
    explicit BuiltinManager(const PrivateDirectory& directory);

    void behave(Behaviour behaviour) override;

    void reload() override {}

    void childEnded(pid_t child, int status) override;
    std::optional<std::chrono::steady_clock::time_point> deadline() override;
    void wake() override;

    dbus::Connection* connection() override
    {
        return &bus;
    }

    std::string kind() const override
    {
        return "builtin";
    }

    Behaviour behaviour() const override
    {
        return behaving;
    }

  private:
    using Members = dbus::Interface<BuiltinManager>;

    void offerManager();
    static void addUnits(Members& members);
    static void addLists(Members& members);
    void answerStart(dbus::Call& call);
    void answerStop(dbus::Call& call);

    /** @throw dbus::Error  as systemd answers for such a name */
    BuiltinUnit& load(const std::string& name);
    void begin(BuiltinUnit& unit);

    /** Ends a job, which is 0 afterwards. */
    void finish(BuiltinUnit& unit, std::uint32_t& job, const char* result);
    void announce(const char* signal, std::uint32_t job,
                  const BuiltinUnit& unit, const char* result = nullptr);

    PrivateDirectory directory;
    dbus::Connection bus;
    std::optional<dbus::Offer> manager;
    std::map<std::string, BuiltinUnit> units;
    std::uint32_t lastJob = 0;
    Behaviour behaving = Behaviour::normal;
};

} // namespace bmcsim
