# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# The box: MIPS32 little-endian Linux. Links against the sysroot that `scripts/sysroot mipsel` makes,
# or the one in the environment variable TAMSEL_MIPSEL_SYSROOT; tests run under its qemu-mipsel.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)

if(DEFINED ENV{TAMSEL_MIPSEL_SYSROOT})
    set(CMAKE_SYSROOT "$ENV{TAMSEL_MIPSEL_SYSROOT}")
else()
    cmake_path(ABSOLUTE_PATH CMAKE_CURRENT_LIST_DIR OUTPUT_VARIABLE CMAKE_SYSROOT)
    cmake_path(APPEND CMAKE_SYSROOT ../../.cache/sysroots/mipsel)
    cmake_path(NORMAL_PATH CMAKE_SYSROOT)
endif()
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/bin/qemu-mipsel")
    message(FATAL_ERROR "No sysroot in ${CMAKE_SYSROOT}: run scripts/sysroot mipsel")
endif()

set(CMAKE_C_COMPILER mipsel-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_SYSROOT}/usr/bin/qemu-mipsel" -L "${CMAKE_SYSROOT}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# moc and its kin run here: those of the machine's own Qt, which has to be of the same version.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR "/usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake")
