# SPDX-License-Identifier: Apache-2.0
SUMMARY = "Device-specific part of firmware updates on a BMC"
DESCRIPTION = "The library that a firmware-manager daemon loads, and a tool for \
updates by hand"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# Builds the tree that holds this recipe. In a layer of its own the recipe needs
# SRC_URI and SRCREV instead.
inherit externalsrc
EXTERNALSRC = "${@os.path.abspath(os.path.join(d.getVar('THISDIR'), '../..'))}"

inherit meson pkgconfig bash-completion

# The platform's own libraries; no stand-in replaces a missing one.
DEPENDS = " \
    fmt \
    libwexacore \
    phosphor-dbus-interfaces \
    sdbusplus \
    systemd \
"
EXTRA_OEMESON = " \
    -Dstand-ins=false \
    -Dtests=disabled \
    -Dsimulator=disabled \
    -Dbenchmarks=disabled \
    -Dfuzzing=disabled \
"

PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-Dtools=enabled,-Dtools=disabled,nlohmann-json libtinyxml2"

# For the build machine: the simulated BMC and the tool, with stand-ins of the
# platform's libraries. These are installed into folders of their own, where no other
# recipe finds them. openembedded-core has no systemd-native: a layer has to provide
# libsystemd under that name.
BBCLASSEXTEND = "native"
DEPENDS:class-native = "cli11 fmt nlohmann-json openssl systemd"
EXTRA_OEMESON:class-native = " \
    -Dstand-ins=install \
    -Dtests=disabled \
    -Dsimulator=enabled \
    -Dbenchmarks=disabled \
    -Dfuzzing=disabled \
    --includedir=${includedir}/wexa-desk \
    --libdir=${libdir}/wexa-desk \
"

# Every board needs the bus policy. The unit is an example: the recipe of the daemon
# installs it with the daemon's program in it.
do_install:append:class-target() {
    install -D -m 0644 ${S}/packaging/dbus/com.WEXA.FirmwareManager.conf \
        ${D}${datadir}/dbus-1/system.d/com.WEXA.FirmwareManager.conf
    install -D -m 0644 ${S}/packaging/systemd/firmware-manager.service \
        ${D}${docdir}/${PN}/examples/firmware-manager.service
}
FILES:${PN} += "${datadir}/dbus-1/system.d/com.WEXA.FirmwareManager.conf"

# The tool is a package of its own, for boards that are updated by hand. "+=":
# bash-completion.bbclass has added a package already.
PACKAGE_BEFORE_PN += "${PN}-tools"
FILES:${PN}-tools = " \
    ${bindir}/wexa-fwmgr \
    ${libdir}/wexa-fwmgr/wexa-fwmgr-operations.so \
"
