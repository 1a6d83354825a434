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
 * Every message is a finished text: the library passes no level number, no category and no format
 * string. The four operations are ordered by falling severity.
 *
 * \par Ownership
 * Borrowed. The library never deletes a logger; it has to outlive the manager it was given to.
 * \par Threads
 * Called on whatever thread performs the operation that is logged, with no lock of the library
 * held: an implementation must be safe to call from several threads and may read settings.
 * \par Failure
 * There is no result; what an implementation throws reaches the caller of the logged operation.
 */
class TAMSEL_EXPORT ILogger
{
public:
    virtual ~ILogger();

    /*! A write or a removal was refused. */
    virtual void error(const QString &message) = 0;
    /*! A layer was to be cleared that does not exist. */
    virtual void warning(const QString &message) = 0;
    /*! A layer was created, replaced or cleared, or a value of \c Rdm or \c SystemProperties
     *  changed. */
    virtual void info(const QString &message) = 0;
    /*! A value of \c CommandLineArgs, \c CustomConfPersistent, \c Runtime or \c SelviDb changed. */
    virtual void debug(const QString &message) = 0;
};

} // namespace tamsel

#endif // TAMSEL_ILOGGER_H
