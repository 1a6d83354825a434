# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# Upper limits in bytes, each 10 % above what was measured; docs/building-for-a-box.md says what is measured.

# The stripped libraries, preset mipsel.
set(tamsel_budget_text 143971) # 130883
set(tamsel_budget_data 4172) # 3793
set(tamsel_budget_relocations 994) # 904
set(tamselhost_budget_text 168796) # 153451
set(tamselhost_budget_data 5997) # 5452
set(tamselhost_budget_relocations 624) # 568

# The heap of an idle manager with eight empty layers, for 32-bit and for 64-bit pointers.
set(heap_budget_32 1927) # 1752
set(heap_budget_64 3040) # 2764
