// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settingstable.h"

#include "format.h"

#include <QtCore/QStringList>
#include <QtCore/QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString layerNames(const QList<tamsel::SettingsType> &layers)
{
    QStringList names;
    for (const tamsel::SettingsType layer : layers)
        names.append(layerName(layer));
    return names.isEmpty() ? u"-"_s : names.join(", "_L1);
}

QList<QStringList> rowsOf(const QList<EffectiveSetting> &settings)
{
    QList<QStringList> rows{{u"group"_s, u"key"_s, u"value"_s, u"answered by"_s, u"hides"_s}};
    for (const EffectiveSetting &setting : settings) {
        rows.append({setting.group, setting.key, valueText(setting.value), layerName(setting.layer),
                     layerNames(setting.hidden)});
    }
    return rows;
}

/*! Of each column, the width of its longest text. */
QList<qsizetype> widthsOf(const QList<QStringList> &rows)
{
    QList<qsizetype> widths(rows.first().size());
    for (const QStringList &row : rows) {
        for (qsizetype column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    return widths;
}

} // namespace

void printTable(QTextStream &out, const QList<EffectiveSetting> &settings)
{
    const QList<QStringList> rows = rowsOf(settings);
    const QList<qsizetype> widths = widthsOf(rows);
    for (const QStringList &row : rows) {
        for (qsizetype column = 0; column + 1 < row.size(); ++column)
            out << "  " << row[column].leftJustified(widths[column]);
        out << "  " << row.last() << '\n';
    }
    out.flush();
}
