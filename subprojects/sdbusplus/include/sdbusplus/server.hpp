// SPDX-License-Identifier: Apache-2.0
#error \
    "the stand-in of sdbusplus has no servers: build with OpenBMC's sdbusplus"
