# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

include(CMakePackageConfigHelpers)

set(tamsel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tamsel)

install(TARGETS tamsel
    EXPORT tamselTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Devel
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Devel
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Devel)
install(EXPORT tamselTargets
    NAMESPACE tamsel::
    DESTINATION ${tamsel_package_dir}
    COMPONENT Devel)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tamselConfig.cmake.in
    ${PROJECT_BINARY_DIR}/tamselConfig.cmake
    INSTALL_DESTINATION ${tamsel_package_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tamselConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
        ${PROJECT_BINARY_DIR}/tamselConfig.cmake
        ${PROJECT_BINARY_DIR}/tamselConfigVersion.cmake
    DESTINATION ${tamsel_package_dir}
    COMPONENT Devel)

# The .pc file finds its prefix from where it lies, so the installed tree can be moved. Both folders
# may have been given as absolute paths.
set(tamsel_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE tamsel_pc_prefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE tamsel_pc_libdir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE tamsel_pc_includedir)
set(tamsel_pc_definitions "")
if(NOT BUILD_SHARED_LIBS)
    set(tamsel_pc_definitions -DTAMSEL_STATIC)
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/tamsel.pc.in ${PROJECT_BINARY_DIR}/tamsel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tamsel.pc DESTINATION ${tamsel_pc_dir} COMPONENT Devel)

if(TAMSEL_BUILD_TOOLS)
    install(TARGETS tamsel-inspect
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/inspect/tamsel-inspect.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
endif()
