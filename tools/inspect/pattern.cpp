// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "pattern.h"

#include "usererror.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Qt's wildcards do not match a "/". Here they do, so another character replaces it.
QString matchable(QString text)
{
    return text.replace(u'/', QChar(1));
}

} // namespace

Pattern::Pattern(const QString &text)
    : m_text(text),
      m_expression(QRegularExpression::wildcardToRegularExpression(matchable(text)),
                   QRegularExpression::DotMatchesEverythingOption)
{
    if (!m_expression.isValid())
        throw UserError(u"'%1' is not a pattern"_s.arg(text));
    m_expression.optimize();
}

bool Pattern::matches(const SettingName &name) const
{
    return m_expression.match(matchable(name.text())).hasMatch();
}

bool Pattern::matchesAny(const QList<SettingName> &names) const
{
    return std::any_of(names.cbegin(), names.cend(),
                       [this](const SettingName &name) { return matches(name); });
}

QString Pattern::alternative(const QList<SettingName> &names) const
{
    if (m_text.contains(u'*'))
        return {};
    for (const QString &text :
         {QString(m_text + "/*"_L1), QString("*/"_L1 + m_text), QString(u'*' + m_text + u'*')}) {
        if (Pattern(text).matchesAny(names))
            return text;
    }
    const auto found = std::find_if(names.cbegin(), names.cend(), [this](const SettingName &name) {
        return name.text().contains(m_text, Qt::CaseInsensitive);
    });
    return found == names.cend() ? QString() : found->text();
}
