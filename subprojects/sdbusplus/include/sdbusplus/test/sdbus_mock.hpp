// SPDX-License-Identifier: Apache-2.0
#error \
    "the stand-in of sdbusplus has no replaceable sd-bus: build with OpenBMC's sdbusplus"
