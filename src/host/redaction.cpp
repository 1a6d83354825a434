// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/redaction.h>

#include "settingjson.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QRegularExpression>
#include <QtCore/QSharedData>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

// Wildcards stop at a "/" as in file names; here they do not, so there is none.
QString matchable(QString text)
{
    return text.replace(u'/', QChar(1));
}

// The word of a pattern "*word*", for which no expression is needed; empty for any other pattern.
QString wordOf(const QString &pattern)
{
    if (pattern.size() < 3 || !pattern.startsWith(u'*') || !pattern.endsWith(u'*'))
        return {};
    const QString word = pattern.sliced(1).chopped(1);
    const auto isSpecial = [](QChar c) { return u"*?[]\\/"_s.contains(c); };
    return std::any_of(word.cbegin(), word.cend(), isSpecial) ? QString() : word.toCaseFolded();
}

} // namespace

class RedactionPrivate : public QSharedData
{
public:
    explicit RedactionPrivate(const QStringList &all);

    bool matches(const QString &path) const;
    QVariant withoutSecrets(const QString &path, const QVariant &value, int depth) const;
    template <typename Map>
    Map membersWithoutSecrets(const QString &path, Map members, int depth) const;

    QStringList patterns;
    QStringList words;
    QList<QRegularExpression> expressions;
};

RedactionPrivate::RedactionPrivate(const QStringList &all) : patterns(all)
{
    for (const QString &pattern : all) {
        if (const QString word = wordOf(pattern); !word.isEmpty()) {
            words.append(word);
            continue;
        }
        expressions.append(QRegularExpression(
                QRegularExpression::wildcardToRegularExpression(matchable(pattern)),
                QRegularExpression::DotMatchesEverythingOption
                        | QRegularExpression::CaseInsensitiveOption));
    }
}

bool RedactionPrivate::matches(const QString &path) const
{
    if (!words.isEmpty()) {
        const QString folded = path.toCaseFolded();
        const auto isIn = [&folded](const QString &word) { return folded.contains(word); };
        if (std::any_of(words.cbegin(), words.cend(), isIn))
            return true;
    }
    return std::any_of(expressions.cbegin(), expressions.cend(),
                       [&path](const QRegularExpression &expression) {
                           if (!expression.isValid())
                               return true;
                           // A search that is given up, or a text that is no Unicode, may match.
                           const auto match = expression.match(matchable(path));
                           return match.hasMatch() || !match.isValid();
                       });
}

// NOLINTBEGIN(misc-no-recursion): no deeper than what is shown of a value
template <typename Map>
Map RedactionPrivate::membersWithoutSecrets(const QString &path, Map members, int depth) const
{
    for (auto member = members.begin(); member != members.end(); ++member) {
        const QString memberPath = path + u'/' + member.key();
        *member = matches(memberPath) ? Redaction::placeholder()
                                      : withoutSecrets(memberPath, *member, depth + 1);
    }
    return members;
}

QVariant RedactionPrivate::withoutSecrets(const QString &path, const QVariant &value,
                                          int depth) const
{
    if (depth > deepestShown)
        return Redaction::placeholder(); // not looked at, so it may be a secret
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
        return membersWithoutSecrets(path, value.toMap(), depth);
    case QMetaType::QVariantHash:
        return membersWithoutSecrets(path, value.toHash(), depth);
    case QMetaType::QVariantList: {
        QVariantList members = value.toList();
        for (QVariant &member : members)
            member = withoutSecrets(path, member, depth + 1);
        return members;
    }
    case QMetaType::QVariant:
        return withoutSecrets(path, *static_cast<const QVariant *>(value.constData()), depth + 1);
    case QMetaType::QJsonObject:
    case QMetaType::QJsonArray:
    case QMetaType::QJsonValue:
        return withoutSecrets(path, value.toJsonValue().toVariant(), depth + 1);
    case QMetaType::QJsonDocument:
        return withoutSecrets(path, value.toJsonDocument().toVariant(), depth + 1);
    case QMetaType::QString:
    case QMetaType::QStringList:
        return value;
    default:
        break;
    }
    // Maps and lists of other types: of Qt, as QCborMap, or of the host, as QMap<QString, QString>.
    if (const QVariantMap members = value.toMap(); !members.isEmpty()) {
        const QVariantMap shown = membersWithoutSecrets(path, members, depth);
        return shown == members ? value : QVariant(shown);
    }
    if (const QVariantList members = value.toList(); !members.isEmpty()) {
        const QVariant shown = withoutSecrets(path, members, depth + 1);
        return shown == QVariant(members) ? value : shown;
    }
    return value;
}
// NOLINTEND(misc-no-recursion)

Redaction::Redaction() : Redaction(defaultPatterns()) { }

Redaction::Redaction(const QStringList &patterns) : d(new RedactionPrivate(patterns)) { }

Redaction::Redaction(const Redaction &other) = default;

Redaction &Redaction::operator=(const Redaction &other) = default;

Redaction::~Redaction() = default;

QStringList Redaction::defaultPatterns()
{
    return {u"*password*"_s, u"*token*"_s, u"*secret*"_s, u"*pin*"_s};
}

QString Redaction::placeholder()
{
    return u"(redacted)"_s;
}

QStringList Redaction::patterns() const
{
    return d->patterns;
}

bool Redaction::matches(const QString &group, const QString &key) const
{
    return d->matches(group + u'/' + key);
}

QVariant Redaction::redacted(const QString &group, const QString &key, const QVariant &value) const
{
    const QString path = group + u'/' + key;
    return d->matches(path) ? QVariant(placeholder()) : d->withoutSecrets(path, value, 0);
}

} // namespace tamsel::host
