// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_QTLOGGER_H
#define TAMSEL_HOST_QTLOGGER_H

#include <tamsel/host/hostglobal.h>
#include <tamsel/ilogger.h>

#include <QtCore/QString>

#include <memory>

/*! \brief What hosts of libtamsel have in common; the library \c tamselhost. */
namespace tamsel::host {

class QtLoggerPrivate;

/*!
 * \brief An ILogger on a QLoggingCategory.
 *
 * | Operation | Message type |
 * |-----------|--------------|
 * | error()   | critical     |
 * | warning() | warning      |
 * | info()    | info         |
 * | debug()   | debug        |
 *
 * A message is passed on as it is, without quotes and with any percent sign in it. The category's
 * rules decide what is printed, see QLoggingCategory::setFilterRules(); by default everything is.
 * Qt's message handler decides where: standard error, journald, syslog or the host's own.
 *
 * \code
 * tamsel::host::QtLogger logger; // outlives the manager
 * tamsel::ConfigurationManager settings(&logger);
 * \endcode
 *
 * \par Ownership
 * The logger owns its category. A logger must outlive each manager that uses it.
 * \par Threads
 * Any thread may log. The message handler runs on the thread that logs.
 * \par Failure
 * There is none.
 */
class TAMSEL_HOST_EXPORT QtLogger final : public ILogger
{
public:
    /*!
     * \brief A logger of the category \a category, which is copied.
     *
     * Loggers of one category share its rules.
     */
    explicit QtLogger(const char *category = "tamsel");
    /*! \brief No manager may use the logger any more. */
    ~QtLogger() override;

    /*! \brief Logs \a message as critical. */
    void error(const QString &message) override;
    /*! \brief Logs \a message as a warning. */
    void warning(const QString &message) override;
    /*! \brief Logs \a message as an info message. */
    void info(const QString &message) override;
    /*! \brief Logs \a message for debugging. */
    void debug(const QString &message) override;

private:
    Q_DISABLE_COPY_MOVE(QtLogger)

    const std::unique_ptr<QtLoggerPrivate> d;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_QTLOGGER_H
