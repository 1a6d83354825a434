// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/redaction.h>

#include "settingjson.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSharedData>
#include <QtCore/QStringList>
#include <QtCore/QStringMatcher>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace tamsel::host {

namespace {

// Qt's wildcards do not match a "/". Here they do, so another character replaces it.
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
    // Intentional, here and below: count_if(), as any_of() is unrolled: some 150 bytes more on MIPS32.
    return std::count_if(word.cbegin(), word.cend(), isSpecial) == 0 ? word : QString();
}

} // namespace

class RedactionPrivate : public QSharedData
{
public:
    explicit RedactionPrivate(const QStringList &all);

    bool matches(const QString &path) const;
    QVariant withoutSecrets(const QString &path, const QVariant &value, int depth) const;

    QStringList patterns;
    std::vector<QStringMatcher> words;
    bool matchesAll = false; // a pattern cannot be understood
    QRegularExpression others; // the patterns that have no word
};

RedactionPrivate::RedactionPrivate(const QStringList &all) : patterns(all)
{
    constexpr auto options = QRegularExpression::DotMatchesEverythingOption
            | QRegularExpression::CaseInsensitiveOption;
    QString expressions;
    for (const QString &pattern : all) {
        if (const QString word = wordOf(pattern); !word.isEmpty()) {
            words.emplace_back(word, Qt::CaseInsensitive);
            continue;
        }
        const QString expression
                = QRegularExpression::wildcardToRegularExpression(matchable(pattern));
        if (!QRegularExpression(expression, options).isValid())
            matchesAll = true;
        if (!expressions.isEmpty())
            expressions += u'|';
        expressions += expression;
    }
    others = QRegularExpression(expressions, options);
}

bool RedactionPrivate::matches(const QString &path) const
{
    if (matchesAll)
        return true;
    const auto isIn = [&path](const QStringMatcher &word) { return word.indexIn(path) >= 0; };
    if (std::count_if(words.cbegin(), words.cend(), isIn) > 0)
        return true;
    if (others.pattern().isEmpty())
        return false;
    // If the search is given up or the text is not valid Unicode, assume a match.
    const auto match = others.match(matchable(path));
    return match.hasMatch() || !match.isValid();
}

// NOLINTBEGIN(misc-no-recursion): it ends at deepestShown
QVariant RedactionPrivate::withoutSecrets(const QString &path, const QVariant &value,
                                          int depth) const
{
    if (depth > deepestShown)
        return Redaction::placeholder(); // not looked at, so it may be a secret
    switch (value.typeId()) {
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
    // Maps and lists of all types: of Qt, as QCborMap, or of the host, as QMap<QString, QString>.
    if (QVariantMap members = value.toMap(); !members.isEmpty()) {
        const QVariantMap before = members;
        for (auto member = members.begin(); member != members.end(); ++member) {
            const QString memberPath = path + u'/' + member.key();
            *member = matches(memberPath) ? Redaction::placeholder()
                                          : withoutSecrets(memberPath, *member, depth + 1);
        }
        return members == before ? value : QVariant(members);
    }
    const QVariantList before = value.toList();
    std::vector<QVariant> members(static_cast<std::size_t>(before.size()));
    std::transform(before.cbegin(), before.cend(), members.begin(),
                   [&](const QVariant &member) { return withoutSecrets(path, member, depth + 1); });
    const QVariantList after(members.cbegin(), members.cend());
    return after == before ? value : QVariant(after);
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
