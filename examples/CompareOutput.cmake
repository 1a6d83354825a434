# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# cmake -D PROGRAM=... -D EXPECTED=... -D ACTUAL=... [-D EMULATOR=...] -P CompareOutput.cmake: runs a
# program and compares its output with a file, byte for byte. The output is kept in ACTUAL.

execute_process(COMMAND ${EMULATOR} ${PROGRAM}
    OUTPUT_FILE ${ACTUAL}
    ERROR_FILE ${ACTUAL}
    RESULT_VARIABLE result)
if(NOT result STREQUAL "0")
    message(FATAL_ERROR "It ended with '${result}'")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${ACTUAL} ${EXPECTED}
    RESULT_VARIABLE result ERROR_QUIET)
if(NOT result STREQUAL "0")
    file(READ ${ACTUAL} actual)
    message(FATAL_ERROR "${EXPECTED} is not what it prints, which is\n${actual}")
endif()
