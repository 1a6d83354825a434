// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_HOST_REDACTION_H
#define TAMSEL_HOST_REDACTION_H

#include <tamsel/host/hostglobal.h>

#include <QtCore/QSharedDataPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace tamsel::host {

class RedactionPrivate;

/*!
 * \brief Decides by their keys which settings hold secrets, and takes the secrets out of their
 * values.
 *
 * A pattern is matched with the whole text `group/key`, without regard to case: \c * is any text,
 * slashes included, \c ? is one character, \c [abc] is one of these. So `*pin*` matches
 * "parental/PIN" and also "ui/spinner": what is redacted without need can be asked for; what was
 * shown cannot be taken back.
 *
 * A member of a map of any type is matched too, as `group/key/member`. The text of a value is not
 * searched: a password inside a URL is not found.
 *
 * \par Ownership
 * A value; copies share their data.
 * \par Threads
 * Any thread may use a copy of its own. Several threads may call const functions of one object.
 * \par Failure
 * A pattern that cannot be understood, such as `[a`, matches every setting.
 */
class TAMSEL_HOST_EXPORT Redaction
{
public:
    /*! \brief Uses defaultPatterns(). */
    Redaction();
    /*! \brief Uses \a patterns in place of the default ones; redacts nothing if there are none. */
    explicit Redaction(const QStringList &patterns);
    /*! \brief A copy that shares its data with \a other. */
    Redaction(const Redaction &other);
    /*! \brief Makes this a copy that shares its data with \a other. */
    Redaction &operator=(const Redaction &other);
    /*! \brief Frees the patterns if no copy uses them. */
    ~Redaction();

    /*! \brief `*password*`, `*token*`, `*secret*` and `*pin*`. */
    [[nodiscard]] static QStringList defaultPatterns();
    /*! \brief What stands in place of a secret: "(redacted)". */
    [[nodiscard]] static QString placeholder();

    /*! \brief The patterns. */
    [[nodiscard]] QStringList patterns() const;
    /*! \brief Whether a pattern matches \a group / \a key: the whole value is a secret. */
    [[nodiscard]] bool matches(const QString &group, const QString &key) const;
    /*!
     * \brief \a value without its secrets.
     *
     * It is placeholder() if matches(\a group, \a key), whatever \a value is. Otherwise members of
     * maps whose names match are replaced, and so is everything nested more than 500 levels deep.
     */
    [[nodiscard]] QVariant redacted(const QString &group, const QString &key,
                                    const QVariant &value) const;

private:
    QSharedDataPointer<RedactionPrivate> d;
};

} // namespace tamsel::host

#endif // TAMSEL_HOST_REDACTION_H
