// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"
#include "unit_manager.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <set>

namespace bmcsim
{

/** Answers for flash units as systemd's manager does, where there is none.
 *
 *  It offers what is needed to start a flash and to learn how it ended: the
 *  manager's StartUnit, StopUnit, RefUnit, UnrefUnit, LoadUnit, GetUnit,
 *  Subscribe and Unsubscribe, its JobNew and JobRemoved, and of a unit the
 *  properties that tell its last result.
 */
class BuiltinManager : public UnitManager
{
  public:
    explicit BuiltinManager(const PrivateDirectory& directory);
    ~BuiltinManager() override;

    BuiltinManager(const BuiltinManager&) = delete;
    BuiltinManager& operator=(const BuiltinManager&) = delete;

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
    /** An instance of a flash template that somebody asked for. */
    struct Unit
    {
        std::unique_ptr<sdbus::IObject> object;
        std::string activeState = "inactive";
        std::string result = "success";
        std::int32_t exitCode = 0;
        std::int32_t exitStatus = 0;
        pid_t process = -1;
        std::uint32_t job = 0;
        std::chrono::steady_clock::time_point deadline;
        bool timedOut = false;
        std::uint32_t stopJob = 0;
    };

    void offerManager();
    void answerStart(sdbus::MethodCall call);
    void answerStop(sdbus::MethodCall call);

    /** @throw sdbus::Error  as systemd answers for such a name */
    Unit& load(const std::string& name);
    sdbus::ObjectPath begin(const std::string& name, Unit& unit);
    void conclude(const std::string& name, Unit& unit, int status);
    void announce(const char* signal, std::uint32_t job,
                  const std::string& unit, const char* result);

    PrivateDirectory directory;
    std::unique_ptr<sdbus::IConnection> bus;
    std::unique_ptr<sdbus::IObject> manager;
    std::map<std::string, Unit> units;
    std::uint32_t lastJob = 0;
    Behaviour behaving = Behaviour::normal;
};

} // namespace bmcsim
