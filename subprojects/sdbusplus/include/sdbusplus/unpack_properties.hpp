// SPDX-License-Identifier: Apache-2.0
#error \
    "the stand-in of sdbusplus has no reading of properties by name: build with OpenBMC's sdbusplus"
