# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# cmake -D NM=<nm> -D LIBRARY=<library> -D SYMBOLS=<Debian's symbols file> -P CheckExports.cmake
#
# Compares the symbols that LIBRARY exports with those listed. Names only, demangled and each one once:
# addresses, symbol types (a vtable is weak with g++, not so with clang++) and the variants of a
# constructor are the compiler's business.
# On MIPS the dynamic symbols include local ones, which are not exported.

execute_process(COMMAND ${NM} -D -C --defined-only --extern-only ${LIBRARY}
    OUTPUT_VARIABLE output
    COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "(^|\n)[0-9a-f]* +[A-Za-z] " "\\1" names "${output}")
string(STRIP "${names}" names)
string(REPLACE "\n" ";" actual "${names}")
list(REMOVE_DUPLICATES actual)
list(SORT actual)

file(STRINGS ${SYMBOLS} expected REGEX "@Base\" ")
list(TRANSFORM expected REPLACE "^ \\(c\\+\\+\\)\"(.*)@Base\" .*$" "\\1")
if(NOT expected)
    message(FATAL_ERROR "${SYMBOLS} lists no symbol")
endif()

set(missing ${expected})
list(REMOVE_ITEM missing ${actual})
set(added ${actual})
list(REMOVE_ITEM added ${expected})
if(NOT missing AND NOT added)
    return()
endif()

set(diff "")
foreach(name IN LISTS missing)
    string(APPEND diff "-${name}\n")
endforeach()
foreach(name IN LISTS added)
    string(APPEND diff "+${name}\n")
endforeach()
message("${LIBRARY} does not export what ${SYMBOLS} lists:\n\n${diff}\n"
    "A name that is gone breaks the programs that are linked with the library. If the change is meant,\n"
    "change the list with it: a line for each new name has the version that brings it.\n")
message(FATAL_ERROR "The exported symbols differ")
