# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# tamsel_missing(<what> <Debian packages> <option>): ends the configuration, as <what> was not found and
# only the parts that <option> turns on need it.
function(tamsel_missing what packages option)
    message(FATAL_ERROR "${option} needs ${what}, not found here. Install Debian's ${packages}, or "
        "configure with -D ${option}=OFF.")
endfunction()
