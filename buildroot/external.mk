# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

include $(sort $(wildcard $(BR2_EXTERNAL_TAMSEL_PATH)/package/*/*.mk))
