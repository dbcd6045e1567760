// SPDX-License-Identifier: Apache-2.0
#include "finished_job.hpp"

#include "log.hpp"

#include <sdbusplus/message/native_types.hpp>

#include <cstdint>

namespace wexa::core
{

int finishedJobOutcome(sdbusplus::message::message& jobRemoved,
                       const std::string& serviceFile)
{
    std::uint32_t id{};
    sdbusplus::message::object_path path;
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
