// SPDX-License-Identifier: Apache-2.0
// What nearly every test includes, compiled once for each test program.
#include <wexa/core/fwmanager_internal.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>
