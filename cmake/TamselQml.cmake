# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# The option TAMSEL_BUILD_QML. Its default is ON if Qt Quick is found and everything that the module
# needs is built. If it is set to ON and something is missing, the configuration fails.

set(tamsel_quick_packages "qt6-declarative-dev, qml6-module-qtquick-controls, \
qml6-module-qtquick-layouts, qml6-module-qtquick-templates, qml6-module-qtquick-window, \
qml6-module-qtqml-workerscript and qml6-module-qttest")

# tamsel_find_quick(<result>): whether the libraries are found and, for tests and the example, the
# QML modules that they import.
macro(tamsel_find_quick result)
    find_package(Qt6 6.4 QUIET COMPONENTS Qml Quick QuickTest QuickControls2)
    set(${result} OFF)
    if(TARGET Qt6::Qml AND TARGET Qt6::Quick AND TARGET Qt6::QuickTest)
        set(${result} ON)
        foreach(module QtQuick/Controls/Basic QtQuick/Layouts QtQuick/Window QtTest)
            if(NOT EXISTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_QML}/${module}/qmldir)
                set(${result} OFF)
            endif()
        endforeach()
    endif()
endmacro()

set(tamsel_quick_found OFF)
if(PROJECT_IS_TOP_LEVEL AND TAMSEL_BUILD_HOST AND NOT DEFINED TAMSEL_BUILD_QML)
    tamsel_find_quick(tamsel_quick_found)
endif()
option(TAMSEL_BUILD_QML "Build the QML module (needs Qt Quick)" ${tamsel_quick_found})
add_feature_info(TAMSEL_BUILD_QML TAMSEL_BUILD_QML "Build the QML module (needs Qt Quick)")

if(TAMSEL_BUILD_QML)
    if(NOT TAMSEL_BUILD_HOST)
        message(FATAL_ERROR "TAMSEL_BUILD_QML needs TAMSEL_BUILD_HOST=ON.")
    endif()
    tamsel_find_quick(tamsel_quick_found)
    if(NOT tamsel_quick_found)
        tamsel_missing("Qt Quick" "${tamsel_quick_packages}" TAMSEL_BUILD_QML)
    endif()
endif()
