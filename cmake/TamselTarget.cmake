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
endfunction()
