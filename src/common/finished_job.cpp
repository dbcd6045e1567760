// SPDX-License-Identifier: Apache-2.0
#include "finished_job.hpp"

#include "log.hpp"

#include <sdbusplus/message/native_types.hpp>

#include <cstdint>

namespace wexa::core
{

int finishedJobOutcome(sdbusplus::message_t& jobRemoved,
                       const std::string& serviceFile)
{
    // Its namespace depends on the release of sdbusplus.
    using namespace sdbusplus;
    using namespace sdbusplus::message;

    std::uint32_t id{};
    object_path path;
    std::string unit;
    std::string result;
    jobRemoved.read(id, path, unit, result);

    log::progress("{}\n", id);
    log::progress("{}\n", path.str);
    log::progress("{}\n", unit);
    log::progress("{}\n", result);
    log::progress("serviceFile: {}\n", serviceFile);

    if (unit != serviceFile)
    {
        return 0;
    }
    return result == "done" ? 1 : 2;
}

} // namespace wexa::core
