// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A program of one's own, for what the documents show of building one.

#include <tamsel/settingstype.h>

int main()
{
    return tamsel::priorityOf(tamsel::SettingsType::Runtime);
}
