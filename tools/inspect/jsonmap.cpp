// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "jsonmap.h"

#include "usererror.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray jsonContents(const QString &fileName)
{
    // Qt opens a directory for reading without an error, and reads nothing from it.
    if (QFileInfo(fileName).isDir())
        throw UserError(u"cannot read %1: it is a directory"_s.arg(fileName));
    QFile file(fileName);
    const bool isOpen = fileName == "-"_L1 ? file.open(STDIN_FILENO, QIODevice::ReadOnly)
                                           : file.open(QIODevice::ReadOnly);
    if (!isOpen)
        throw UserError(u"cannot read %1: %2"_s.arg(fileName, file.errorString()));
    QByteArray result = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw UserError(u"cannot read %1: %2"_s.arg(fileName, file.errorString()));
    return result;
}

} // namespace

QJsonDocument readJson(const QString &fileName)
{
    const QByteArray contents = jsonContents(fileName);
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(contents, &error);
    if (error.error != QJsonParseError::NoError) {
        const auto line = 1 + contents.left(error.offset).count('\n');
        throw UserError(u"%1, line %2, is not JSON: %3"_s.arg(fileName, QString::number(line),
                                                              error.errorString()));
    }
    return document;
}

QVariantMap readJsonMap(const QString &fileName)
{
    const QJsonDocument document = readJson(fileName);
    if (!document.isObject())
        throw UserError(u"%1 holds no object of groups"_s.arg(fileName));
    const QJsonObject groups = document.object();
    for (auto group = groups.constBegin(); group != groups.constEnd(); ++group) {
        if (!group->isObject())
            throw UserError(
                    u"%1: the group '%2' is no object of keys"_s.arg(fileName, group.key()));
    }
    return groups.toVariantMap();
}
