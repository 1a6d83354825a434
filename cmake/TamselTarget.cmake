# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# tamsel_target(<target>): the language level, warnings and strict Qt definitions that all code of
# this tree is compiled with. Everything is PRIVATE: users keep their own choices. Warnings become
# errors in the presets only (CMAKE_COMPILE_WARNING_AS_ERROR), so that tomorrow's compiler does not
# break a user.
function(tamsel_target target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII
        QT_NO_CAST_TO_ASCII
        QT_NO_CAST_FROM_BYTEARRAY
        QT_NO_URL_CAST_FROM_STRING
        QT_NO_KEYWORDS
        QT_NO_FOREACH
        QT_USE_QSTRINGBUILDER
        QT_STRICT_ITERATORS)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-align -Wundef -Woverloaded-virtual
        -Wnon-virtual-dtor -Wzero-as-null-pointer-constant -Wdate-time
        $<$<CXX_COMPILER_ID:GNU>:-Wsuggest-override -Wduplicated-cond -Wlogical-op>
        $<$<CXX_COMPILER_ID:Clang>:-Winconsistent-missing-destructor-override>)
    # Sanitizers resolve their symbols from the program: a library linked with them has holes.
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    if(TAMSEL_HARDENED)
        tamsel_harden(${target})
    endif()
endfunction()

# tamsel_harden(<target>): what TAMSEL_HARDENED stands for; tests/install/hardening looks for it in the
# built files. Packages have flags of their distribution for the same.
function(tamsel_harden target)
    # _FORTIFY_SOURCE is left to distributions: no call in these files has a buffer of a size that the
    # compiler knows, so it changes nothing in them.
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
if(TAMSEL_HARDENED)
    include(CheckPIESupported)
    check_pie_supported() # or programs are not linked as position-independent ones
endif()
