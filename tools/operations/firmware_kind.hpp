// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <string>

/** What an operation works on. */
struct Target
{
    std::string image;
    /** Of a CPLD image; else empty. */
    std::string component;
};

/** How the library's operations are called for one kind of firmware. */
class FirmwareKind
{
  public:
    using Manager = wexa::core::FWManagerInternal;

    virtual ~FirmwareKind() = default;

    /** What the command line calls it. */
    virtual std::string name() const = 0;

    /** What a file of this kind is, in words. */
    virtual std::string wordsFor(std::string image) const = 0;

    /** Whether images are for one component of several, and may be in a
     *  directory.
     */
    virtual bool hasComponents() const
    {
        return false;
    }

    /** Whether an upload tells when the image is to be applied. */
    virtual bool hasApplyTime() const
    {
        return false;
    }

    /** Whether the image is for one board, and tells which. */
    virtual bool tellsItsBoard(std::string /*image*/) const
    {
        return false;
    }

    virtual wexa::core::UploadResult upload(Manager& manager,
                                            const Target& target) const = 0;
    virtual int verify(Manager& manager, const Target& target) const = 0;

    /** @return 0: systemd accepted the job */
    virtual int update(Manager& manager, const Target& target) const = 0;

    virtual int stateChanged(Manager& manager,
                             sdbusplus::message_t& job) const = 0;
    virtual void succeeded(Manager& manager) const = 0;
};
