// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "settingstable.h"

#include "format.h"
#include "hostvalues.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QStringList>
#include <QtCore/QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The names of the layers that hold the setting, highest precedence first.
QStringList layersHolding(const tamsel::ConfigurationManager &settings, const QString &group,
                          const QString &key)
{
    QStringList result;
    for (const tamsel::SettingsType layer : tamsel::storagePriority) {
        if (settings.contains(group, key, layer))
            result.append(layerName(layer));
    }
    return result;
}

QList<QStringList> rowsOf(const tamsel::ConfigurationManager &settings)
{
    QList<QStringList> rows{{u"group"_s, u"key"_s, u"value"_s, u"origin"_s, u"overridden"_s}};
    for (const auto &[group, key] : hostSettings()) {
        QStringList layers = layersHolding(settings, group, key);
        if (layers.isEmpty())
            continue;
        const QString origin = layers.takeFirst();
        rows.append({group, key, valueText(settings.value(group, key)), origin,
                     layers.isEmpty() ? u"-"_s : layers.join(", "_L1)});
    }
    return rows;
}

// The width of the longest text in each column.
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

void printTable(QTextStream &out, const tamsel::ConfigurationManager &settings)
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
