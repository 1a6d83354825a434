# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

include(CMakePackageConfigHelpers)

set(tamsel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tamsel)

# tamsel_install_library(<target> <runtime component> <development component>): installs a library with
# its headers and the targets that tamselConfig.cmake includes.
function(tamsel_install_library target runtime devel)
    install(TARGETS ${target}
        EXPORT ${target}Targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${runtime}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${runtime} NAMELINK_COMPONENT ${devel}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${devel}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${devel})
    install(EXPORT ${target}Targets
        NAMESPACE tamsel::
        DESTINATION ${tamsel_package_dir}
        COMPONENT ${devel})
endfunction()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tamselConfig.cmake.in
    ${PROJECT_BINARY_DIR}/tamselConfig.cmake
    INSTALL_DESTINATION ${tamsel_package_dir}
    NO_SET_AND_CHECK_MACRO)
# Before 1.0 the interface may change with each minor version.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(tamsel_compatibility SameMinorVersion)
else()
    set(tamsel_compatibility SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tamselConfigVersion.cmake
    COMPATIBILITY ${tamsel_compatibility})
install(FILES
        ${PROJECT_BINARY_DIR}/tamselConfig.cmake
        ${PROJECT_BINARY_DIR}/tamselConfigVersion.cmake
    DESTINATION ${tamsel_package_dir}
    COMPONENT Devel)

# The prefix in a .pc file is relative to the file itself, so the installed tree can be moved. Both
# folders may have been given as absolute paths.
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

# tamsel_install_pc(<name> <component>): makes <name>.pc from cmake/<name>.pc.in and installs it.
function(tamsel_install_pc name component)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT ${component})

    # With DESTDIR, for a sysroot or a package, the .pc file contains an absolute prefix instead.
    # freedesktop.org's pkg-config prepends PKG_CONFIG_SYSROOT_DIR even to a prefix that is relative to
    # the file and so already inside the sysroot.
    string(CONFIGURE [[
        if(NOT "$ENV{DESTDIR}" STREQUAL "")
            set(pc_file "@CMAKE_INSTALL_LIBDIR@/pkgconfig/@name@.pc")
            cmake_path(ABSOLUTE_PATH pc_file BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
            file(READ "$ENV{DESTDIR}${pc_file}" text)
            string(REGEX REPLACE "\nprefix=[^\n]*" "\nprefix=${CMAKE_INSTALL_PREFIX}" text "${text}")
            file(WRITE "$ENV{DESTDIR}${pc_file}" "${text}")
        endif()
    ]] tamsel_pc_stage @ONLY)
    install(CODE "${tamsel_pc_stage}" COMPONENT ${component})
endfunction()

tamsel_install_library(tamsel Runtime Devel)
tamsel_install_pc(tamsel Devel)
tamsel_install_library(tamseltesting Runtime Devel)
if(TAMSEL_BUILD_HOST)
    tamsel_install_library(tamselhost HostRuntime HostDevel)
    tamsel_install_pc(tamselhost HostDevel)
endif()

if(TAMSEL_BUILD_QML)
    tamsel_install_library(tamselqml QmlRuntime QmlDevel)
    # A Qt installed under the same prefix looks for modules here.
    set(tamsel_qml_dir ${CMAKE_INSTALL_LIBDIR}/qt6/qml/Tamsel)
    set(tamsel_qml_component QmlRuntime)
    if(BUILD_SHARED_LIBS)
        install(TARGETS tamselqmlplugin LIBRARY DESTINATION ${tamsel_qml_dir} COMPONENT QmlRuntime)
        # The path from the plugin's directory to the library's.
        if(NOT DEFINED CMAKE_INSTALL_RPATH)
            set_target_properties(tamselqmlplugin PROPERTIES INSTALL_RPATH "$ORIGIN/../../..")
            set_target_properties(tamselqml PROPERTIES INSTALL_RPATH "$ORIGIN")
        endif()
    else()
        # A program links the plugin and the objects together with the library. qmllint reads the
        # module.
        install(TARGETS tamselqmlplugin ${tamsel_qml_outputs}
            EXPORT tamselqmlTargets
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT QmlDevel
            OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT QmlDevel)
        set(tamsel_qml_component QmlDevel)
    endif()
    install(FILES ${PROJECT_BINARY_DIR}/qml/Tamsel/qmldir ${PROJECT_BINARY_DIR}/qml/Tamsel/tamselqml.qmltypes
        DESTINATION ${tamsel_qml_dir} COMPONENT ${tamsel_qml_component})
endif()

if(TAMSEL_BUILD_TOOLS)
    # The tool finds the library relative to itself. It finds a Qt outside the system's directories
    # where this build found it.
    if(BUILD_SHARED_LIBS AND NOT DEFINED CMAKE_INSTALL_RPATH)
        cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
            BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
            OUTPUT_VARIABLE tamsel_libdir_from_tool)
        set_target_properties(tamsel-inspect PROPERTIES
            INSTALL_RPATH "$ORIGIN/${tamsel_libdir_from_tool}"
            INSTALL_RPATH_USE_LINK_PATH ON)
    endif()
    install(TARGETS tamsel-inspect
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/inspect/tamsel-inspect.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/inspect/tamsel-inspect.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tamsel-inspect
        COMPONENT Tools)
endif()
