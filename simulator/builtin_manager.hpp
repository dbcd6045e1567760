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

    sdbus::IConnection* connection() override
    {
        return behaving == Behaviour::silent ? nullptr : bus.get();
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
    void offer(const char* member, const char* in, const char* out,
               sdbus::method_callback answer);
    void offerManager();
    void offerUnits();
    void offerLists();
    void answerStart(sdbus::MethodCall call);
    void answerStop(sdbus::MethodCall call);

    /** @throw sdbus::Error  as systemd answers for such a name */
    BuiltinUnit& load(const std::string& name);
    void begin(BuiltinUnit& unit);

    /** Ends a job, which is 0 afterwards. */
    void finish(BuiltinUnit& unit, std::uint32_t& job, const char* result);
    void announce(const char* signal, std::uint32_t job,
                  const BuiltinUnit& unit, const char* result = nullptr);

    PrivateDirectory directory;
    std::unique_ptr<sdbus::IConnection> bus;
    std::unique_ptr<sdbus::IObject> manager;
    std::map<std::string, BuiltinUnit> units;
    std::uint32_t lastJob = 0;
    Behaviour behaving = Behaviour::normal;
};

} // namespace bmcsim
