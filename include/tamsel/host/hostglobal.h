// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_HOSTGLOBAL_H
#define TAMSEL_HOST_HOSTGLOBAL_H

#include <QtCore/qglobal.h>

/*!
 * \file
 * \brief The export macro of the companion library for hosts.
 *
 * \def TAMSEL_HOST_EXPORT
 * \brief Makes a name visible outside the companion library.
 *
 * The companion's own build sets \c TAMSEL_HOST_LIBRARY; the CMake target and the .pc file of a
 * static build set \c TAMSEL_STATIC. Users set neither.
 */
#if defined(TAMSEL_STATIC)
#    define TAMSEL_HOST_EXPORT
#elif defined(TAMSEL_HOST_LIBRARY)
#    define TAMSEL_HOST_EXPORT Q_DECL_EXPORT
#else
#    define TAMSEL_HOST_EXPORT Q_DECL_IMPORT
#endif

#endif // TAMSEL_HOST_HOSTGLOBAL_H
