// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <cstddef>
#include <string>

/** Operations of the library or the reference, by number. */
namespace fuzz
{

constexpr std::size_t verifications = 4;

template <typename Subject>
int verify(Subject& subject, std::size_t which, const std::string& path,
           wexa::core::VersionPurpose purpose, const std::string& component)
{
    switch (which)
    {
        case 0:
            return subject.VerifyBMC(path, purpose, component);
        case 1:
            return subject.VerifyBIOS(path, purpose, component);
        case 2:
            return subject.VerifyCapsule(path, purpose, component);
        default:
            return subject.VerifyCPLD(path, purpose, component);
    }
}

constexpr std::size_t launches = 3;

template <typename Subject>
int launch(Subject& subject, std::size_t which, const std::string& path,
           wexa::core::VersionPurpose purpose, const std::string& component)
{
    switch (which)
    {
        case 0:
            return subject.UpdateBMC(path, purpose, component);
        case 1:
            return subject.UpdateBIOS(path, purpose, component);
        default:
            return subject.UpdateCPLD(path, purpose, component);
    }
}

} // namespace fuzz
