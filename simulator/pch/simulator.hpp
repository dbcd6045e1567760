// SPDX-License-Identifier: Apache-2.0
// What nearly every file of the simulator includes, compiled once.
#include <nlohmann/json.hpp>
#include <systemd/sd-bus.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>
