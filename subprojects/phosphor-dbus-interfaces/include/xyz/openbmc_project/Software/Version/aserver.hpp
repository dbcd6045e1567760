// SPDX-License-Identifier: Apache-2.0
#error \
    "the stand-in of phosphor-dbus-interfaces has no asynchronous servers: build with OpenBMC's phosphor-dbus-interfaces"
