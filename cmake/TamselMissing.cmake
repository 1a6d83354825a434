# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# tamsel_missing(<what> <Debian packages> <option>): ends the configuration because <what>, which
# <option> needs, was not found.
function(tamsel_missing what packages option)
    message(FATAL_ERROR "${option} needs ${what}, not found here. Install Debian's ${packages}, or "
        "configure with -D ${option}=OFF.")
endfunction()
