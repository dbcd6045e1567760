// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

#include <span>
#include <string>
#include <vector>

namespace fuzz
{

using wexa::core::VersionPurpose;
using Library = wexa::core::FWManagerInternal;

struct Arguments
{
    std::string path;
    std::string component{};
    VersionPurpose purpose = VersionPurpose::Other;
};

/** Calls in the order in which they are made; an operation may stop after any.
 */
using Calls = std::vector<std::string>;

/** Each of these texts is a pattern: "..." stands for any text. */
struct Ending
{
    /** The result, or what is thrown. */
    std::string result;

    /** The line that is logged last; empty where none is logged. */
    std::string lastLine;
};

/** An operation of the library, and all that it may do. */
struct Operation
{
    std::string name;
    std::string (*run)(Library& library, const Arguments& given);

    /** How it may end. */
    std::vector<Ending> endings;

    /** What it may call on the bus, and of the core library: the ways through
     *  it.
     */
    std::vector<Calls> (*calls)(const Arguments& given) = nullptr;
    std::vector<Calls> (*coreCalls)(const Arguments& given) = nullptr;

    /** The flash unit that it starts. */
    std::string (*unit)(const Arguments& given) = nullptr;
};

/** All of them but those of finished jobs: the verifications, the launches,
 *  the rest.
 */
const std::vector<Operation>& operations();

constexpr std::size_t verifications = 4;
constexpr std::size_t launches = 3;

/** @param name  must be there */
const Operation& operationNamed(const std::string& name);

} // namespace fuzz
