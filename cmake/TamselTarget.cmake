# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# tamsel_target(<target>): the language level, warnings and strict Qt definitions for all code of this
# tree. Everything is PRIVATE, so users keep their own choices. Warnings become errors only in the
# presets (CMAKE_COMPILE_WARNING_AS_ERROR), so that a newer compiler does not break a user's build.
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
    # A library built with sanitizers has undefined symbols, which the program resolves.
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    if(TAMSEL_HARDENED)
        tamsel_harden(${target})
    endif()
endfunction()

# tamsel_harden(<target>): implements TAMSEL_HARDENED; tests/install/hardening checks the built files.
# Packages use the flags of their distribution instead.
function(tamsel_harden target)
    # Without _FORTIFY_SOURCE: it would change no call in these files.
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
if(TAMSEL_HARDENED)
    include(CheckPIESupported)
    check_pie_supported() # without it, CMake does not link programs as position-independent
endif()
