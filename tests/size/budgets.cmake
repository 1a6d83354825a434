# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# Upper limits in bytes, each 10 % above what was measured; docs/size.md says what they are made of.

# The stripped library, preset mipsel.
set(size_budget_text 153602) # 139639
set(size_budget_data 4294) # 3904
set(size_budget_relocations 827) # 752

# The heap of an idle manager with eight empty layers, for 32-bit and for 64-bit pointers.
set(heap_budget_32 1892) # 1720
set(heap_budget_64 2970) # 2700
