// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TAMSELGLOBAL_H
#define TAMSEL_TAMSELGLOBAL_H

#include <QtCore/qglobal.h>

/*!
 * \file
 * \brief The export macro.
 *
 * \def TAMSEL_EXPORT
 * \brief Makes a name visible outside the library.
 *
 * The library's own build sets \c TAMSEL_LIBRARY; the CMake target and the .pc file of a static
 * build set \c TAMSEL_STATIC. Users set neither.
 */
#if defined(TAMSEL_STATIC)
#    define TAMSEL_EXPORT
#elif defined(TAMSEL_LIBRARY)
#    define TAMSEL_EXPORT Q_DECL_EXPORT
#else
#    define TAMSEL_EXPORT Q_DECL_IMPORT
#endif

#endif // TAMSEL_TAMSELGLOBAL_H
