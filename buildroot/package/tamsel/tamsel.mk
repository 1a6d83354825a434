################################################################################
#
# tamsel
#
# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT
#
################################################################################

TAMSEL_VERSION = 0.2.0
# The checkout that contains this file.
TAMSEL_SITE = $(BR2_EXTERNAL_TAMSEL_PATH)/..
TAMSEL_SITE_METHOD = local
TAMSEL_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude build --exclude .cache
TAMSEL_LICENSE = MIT
TAMSEL_LICENSE_FILES = LICENSES/MIT.txt
TAMSEL_INSTALL_STAGING = YES
TAMSEL_DEPENDENCIES = qt6base
# Hardening comes from BR2_RELRO_*, BR2_SSP_* and BR2_FORTIFY_SOURCE_* of the whole system.
TAMSEL_CONF_OPTS = \
	-DTAMSEL_BUILD_QML=OFF \
	-DTAMSEL_BUILD_TESTS=OFF \
	-DTAMSEL_BUILD_EXAMPLES=OFF \
	-DCMAKE_SKIP_INSTALL_RPATH=ON

ifeq ($(BR2_PACKAGE_TAMSEL_HOST),y)
TAMSEL_CONF_OPTS += -DTAMSEL_BUILD_HOST=ON
else
TAMSEL_CONF_OPTS += -DTAMSEL_BUILD_HOST=OFF
endif

ifeq ($(BR2_PACKAGE_TAMSEL_TOOLS),y)
TAMSEL_CONF_OPTS += -DTAMSEL_BUILD_TOOLS=ON
else
TAMSEL_CONF_OPTS += -DTAMSEL_BUILD_TOOLS=OFF
endif

$(eval $(cmake-package))
