// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/bytes.hpp"
#include "../support/cpld_manager.hpp"
#include "../support/library_test.hpp"
#include "../support/temporary_directory.hpp"

namespace test
{

/** A CPLD update manager with the devices MB_CPLD and SCM_CPLD. */
class CpldTest : public LibraryTest
{
  protected:
    using Manager = wexa::core::FWManagerInternal;
    static constexpr auto mb = "/xyz/openbmc_project/cpld_update_mgr/mb";
    static constexpr auto scm = "/xyz/openbmc_project/cpld_update_mgr/scm";

    /** The manager with both devices bound, and more methods. */
    void offerManager(const std::vector<Method>& more = {})
    {
        offerManagerWith(cpld_manager::registry({{"SCM_CPLD", scm, "i2c", {}},
                                                 {"MB_CPLD", mb, "jtag", {}}}),
                         more);
    }

    void offerManagerWith(Reply registry, const std::vector<Method>& more = {})
    {
        std::vector<Method> methods{
            cpld_manager::bindedDevices(std::move(registry))};
        methods.insert(methods.end(), more.begin(), more.end());
        offer(cpld_manager::service, std::move(methods));
    }

    /** An image file. */
    std::string file(const std::string& name = "image") const
    {
        writeBytes(directory.file(name), "image");
        return directory.file(name);
    }

    TemporaryDirectory directory;
};

} // namespace test
