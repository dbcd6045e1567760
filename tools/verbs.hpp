// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

/** What a verb works on. */
struct Request
{
    std::string bus;
    std::string image;
    bool verbose = false;
    /** How long `update` waits for the end of the flash. */
    std::chrono::seconds timeout{600};
};

/** Each does what it says with a BMC image and prints the result on standard
 *  output.
 *
 *  @throw Failure  it could not; with the reason
 */
void uploadBmc(const Request& request);
void verifyBmc(const Request& request);
void updateBmc(const Request& request);
