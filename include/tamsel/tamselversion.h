// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TAMSELVERSION_H
#define TAMSEL_TAMSELVERSION_H

/*!
 * \file
 * \brief The version of these headers, for the preprocessor.
 *
 * The build reads the three numbers from here for the CMake package, the .pc file and the library's
 * file name.
 *
 * \code
 * #if TAMSEL_VERSION >= TAMSEL_VERSION_CHECK(0, 2, 0)
 * // needs what 0.2.0 added
 * #endif
 * \endcode
 */

// NOLINTBEGIN(cppcoreguidelines-macro-usage): for the preprocessor
/*! \brief From 1.0 on, rises with every release that breaks users' sources. */
#define TAMSEL_VERSION_MAJOR 0
/*! \brief Rises with every release that adds something or, before 1.0, breaks users' sources. */
#define TAMSEL_VERSION_MINOR 2
/*! \brief Rises with every release that only fixes. */
#define TAMSEL_VERSION_PATCH 0

/*! \brief A version as one number that can be compared: 0xMMNNPP, eight bits for each part. */
#define TAMSEL_VERSION_CHECK(major, minor, patch) (((major) << 16) | ((minor) << 8) | (patch))

/*! \brief The version of these headers as TAMSEL_VERSION_CHECK() gives it. */
#define TAMSEL_VERSION \
    TAMSEL_VERSION_CHECK(TAMSEL_VERSION_MAJOR, TAMSEL_VERSION_MINOR, TAMSEL_VERSION_PATCH)

/*! \cond */
#define TAMSEL_VERSION_TEXT(major, minor, patch) #major "." #minor "." #patch
#define TAMSEL_VERSION_EXPANDED(major, minor, patch) TAMSEL_VERSION_TEXT(major, minor, patch)
/*! \endcond */

/*! \brief The version of these headers as text, "0.2.0" for example. */
#define TAMSEL_VERSION_STRING \
    TAMSEL_VERSION_EXPANDED(TAMSEL_VERSION_MAJOR, TAMSEL_VERSION_MINOR, TAMSEL_VERSION_PATCH)
// NOLINTEND(cppcoreguidelines-macro-usage)

#endif // TAMSEL_TAMSELVERSION_H
