# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

SUMMARY = "Layered settings of a set-top box's software"
DESCRIPTION = "Holds all settings of a process in up to eight layers with a fixed precedence."
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSES/MIT.txt;md5=3912d958d00bac4a6b550f75d7c806bb"

DEPENDS = "qtbase"

# Set by the distribution: the place of the repository and, as SRCREV:pn-tamsel, the commit.
TAMSEL_REPOSITORY ?= "git:///srv/git/libtamsel.git;protocol=file;branch=main"
SRC_URI = "${TAMSEL_REPOSITORY}"
S = "${WORKDIR}/git"

inherit qt6-cmake

PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-DTAMSEL_BUILD_TOOLS=ON,-DTAMSEL_BUILD_TOOLS=OFF"

# Hardening comes from the distribution's security_flags.inc.
EXTRA_OECMAKE = "\
    -DBUILD_SHARED_LIBS=ON \
    -DTAMSEL_BUILD_HOST=ON \
    -DTAMSEL_BUILD_QML=OFF \
    -DTAMSEL_BUILD_TESTS=OFF \
    -DTAMSEL_BUILD_EXAMPLES=OFF \
    -DCMAKE_SKIP_INSTALL_RPATH=ON \
"

PACKAGE_BEFORE_PN = "${PN}-host ${PN}-tools"
FILES:${PN}-host = "${libdir}/libtamselhost${SOLIBS}"
FILES:${PN}-tools = "${bindir}/tamsel-inspect ${datadir}/bash-completion"
