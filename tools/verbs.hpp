// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

class FirmwareKind;

/** What a verb works on. */
struct Request
{
    std::string bus;
    const FirmwareKind* kind = nullptr;
    std::string image;
    std::string component;
    bool verbose = false;
    bool json = false;
    /** How long `update` waits for the end of the flash. */
    std::chrono::seconds timeout{600};
};

/** Each does what it says with an image and prints the result on standard
 *  output.
 *
 *  @throw Failure  it could not; with the reason
 */
void upload(const Request& request);
void verify(const Request& request);
void update(const Request& request);

/** Lists the CPLD components. */
void listComponents(const Request& request);
