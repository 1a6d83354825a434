// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_ILOGGER_H
#define TAMSEL_ILOGGER_H

#include <tamsel/tamselglobal.h>

#include <QtCore/QString>

namespace tamsel {

/*!
 * \brief Takes the log messages of the library; the host implements it.
 *
 * Every message is a finished text, without a level number, a category or a format string. The four
 * functions are in order of decreasing severity.
 *
 * \par Ownership
 * Borrowed. The library never deletes a logger; it must outlive the manager that uses it.
 * \par Threads
 * Called on the thread of the operation that is logged, with no lock of the library held. An
 * implementation must be thread-safe. It may read settings.
 * \par Failure
 * There is no result. An exception that an implementation throws reaches the caller of the
 * operation that is logged.
 */
class TAMSEL_EXPORT ILogger
{
public:
    /*! \brief The library never deletes a logger. */
    virtual ~ILogger();

    /*! \brief A write or a removal was refused. */
    virtual void error(const QString &message) = 0;
    /*! \brief clearStorage() was called for a layer that does not exist. */
    virtual void warning(const QString &message) = 0;
    /*!
     * \brief A layer was created, replaced or cleared, or a value of \c Rdm or \c SystemProperties
     * changed.
     */
    virtual void info(const QString &message) = 0;
    /*!
     * \brief A value of \c CommandLineArgs, \c CustomConfPersistent, \c Runtime or \c SelviDb
     * changed.
     */
    virtual void debug(const QString &message) = 0;
};

} // namespace tamsel

#endif // TAMSEL_ILOGGER_H
