# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# Upper limits in bytes, each 10 % above what was measured, if not said otherwise;
# docs/building-for-a-box.md says what is measured.

# The stripped libraries, preset mipsel.
set(tamsel_budget_text 143971) # 130883
set(tamsel_budget_data 4172) # 3793
set(tamsel_budget_relocations 994) # 904
set(tamselhost_budget_text 120000) # 119269; this limit is not raised
set(tamselhost_budget_data 5174) # 4704
set(tamselhost_budget_relocations 642) # 584

# The heap of an idle manager with eight empty layers, for 32-bit and for 64-bit pointers.
set(heap_budget_32 1927) # 1752
set(heap_budget_64 3040) # 2764
