# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# The box: MIPS32 little-endian Linux. TAMSEL_MIPSEL_SYSROOT, a CMake or environment variable, is the root
# to link against, by default the one that `scripts/sysroot mipsel` makes. It is kept in the cache. Tests
# run under CMAKE_CROSSCOMPILING_EMULATOR, by default the root's usr/bin/qemu-mipsel.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)

if(DEFINED ENV{TAMSEL_MIPSEL_SYSROOT})
    set(sysroot "$ENV{TAMSEL_MIPSEL_SYSROOT}")
else()
    cmake_path(SET sysroot NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../.cache/sysroots/mipsel")
endif()
set(TAMSEL_MIPSEL_SYSROOT "${sysroot}" CACHE PATH "The root of the box")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TAMSEL_MIPSEL_SYSROOT)
if(DEFINED ENV{TAMSEL_MIPSEL_SYSROOT} AND NOT sysroot STREQUAL TAMSEL_MIPSEL_SYSROOT)
    message(WARNING "This build folder uses the root ${TAMSEL_MIPSEL_SYSROOT}, not ${sysroot} from the "
        "environment. To change it, configure with --fresh.")
endif()
if(NOT IS_DIRECTORY "${TAMSEL_MIPSEL_SYSROOT}/usr")
    message(FATAL_ERROR "There is no root in ${TAMSEL_MIPSEL_SYSROOT}: run scripts/sysroot mipsel, or set "
        "another one with -D TAMSEL_MIPSEL_SYSROOT=DIR")
endif()
set(CMAKE_SYSROOT "${TAMSEL_MIPSEL_SYSROOT}")

set(CMAKE_C_COMPILER mipsel-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)
# Debian's folder below usr/lib. CMake detects it, except in a root with a space in its name.
set(CMAKE_LIBRARY_ARCHITECTURE mipsel-linux-gnu)
if(NOT CMAKE_CROSSCOMPILING_EMULATOR AND EXISTS "${CMAKE_SYSROOT}/usr/bin/qemu-mipsel")
    set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_SYSROOT}/usr/bin/qemu-mipsel" -L "${CMAKE_SYSROOT}")
endif()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# moc and similar tools run on this machine, from its own Qt, which must have the same version.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR "/usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake")
