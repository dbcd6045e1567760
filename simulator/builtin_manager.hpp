// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_engine.hpp"
#include "dbus/object.hpp"
#include "private_directory.hpp"
#include "unit_manager.hpp"

#include <memory>

namespace bmcsim
{

/** Runs flash units and answers as systemd's manager does, without systemd. */
class BuiltinManager : public UnitManager
{
  public:
    explicit BuiltinManager(const PrivateDirectory& directory);

    void behave(Behaviour behaviour) override;
    void reload() override;
    void childEnded(pid_t child, int status) override;
    std::optional<std::chrono::steady_clock::time_point> deadline() override;
    void wake() override;

    dbus::Connection* connection() override
    {
        return life ? &life->bus : nullptr;
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
    /** It ends where the manager is absent: what ran ends with it. */
    struct Life
    {
        Life(const PrivateDirectory& directory, bool answersNumber);

        /** @param answersNumber  in place of the paths of started jobs */
        void offerManager(bool answersNumber);

        dbus::Connection bus;
        BuiltinEngine engine;
        std::optional<dbus::Offer> manager;
        dbus::Offer units;
        dbus::Offer services;
        dbus::Offer jobs;
    };

    bool isSilent() const
    {
        return behaving == Behaviour::silent;
    }

    PrivateDirectory directory;
    std::unique_ptr<Life> life;
    Behaviour behaving = Behaviour::normal;
};

} // namespace bmcsim
