# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# Sums up the sections of the stripped library that are loaded, and compares with the budgets:
# relocations are the lists that the dynamic linker works through, data is what else can be
# written, text is the rest.

include(${CMAKE_CURRENT_LIST_DIR}/budgets.cmake)

execute_process(COMMAND ${strip} -o ${stripped} ${library} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${readelf} --section-headers --wide ${stripped}
    OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)

set(text 0)
set(data 0)
set(relocations 0)
# "[ 4] .dynamic DYNAMIC 000001ac 0001ac 000128 08 A 7 0 4": name, type, address, offset, size,
# entry size, flags; no section without flags is loaded.
string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\n]+" lines "${headers}")
foreach(line IN LISTS lines)
    if(NOT line MATCHES
            "\\] +[^ ]+ +([A-Z_]+) +[0-9a-f]+ +[0-9a-f]+ +([0-9a-f]+) +[0-9a-f]+ +([A-Za-z]+) ")
        continue()
    endif()
    set(type ${CMAKE_MATCH_1})
    set(size 0x${CMAKE_MATCH_2})
    set(flags ${CMAKE_MATCH_3})
    if(NOT flags MATCHES A)
        continue()
    elseif(type MATCHES "^RELA?$")
        set(kind relocations)
    elseif(flags MATCHES W)
        set(kind data)
    else()
        set(kind text)
    endif()
    math(EXPR ${kind} "${${kind}} + ${size}")
endforeach()

set(broken FALSE)
foreach(kind text data relocations)
    message("${kind}: ${${kind}} of ${${name}_budget_${kind}} bytes")
    if(${kind} EQUAL 0 OR ${kind} GREATER ${name}_budget_${kind})
        set(broken TRUE)
    endif()
endforeach()
if(broken)
    message(FATAL_ERROR "The library does not fit its budget, see docs/building-for-a-box.md")
endif()
