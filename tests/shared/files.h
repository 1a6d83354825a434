// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_FILES_H
#define TAMSEL_TESTS_FILES_H

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <atomic>

namespace tamsel::tests {

inline bool writeFile(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

// The contents of the file; null if it cannot be read.
inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A copy of the file under a path that is new to this process, so that QSettings reads it as
// another process would: it shares and remembers contents by path. Null if the file cannot be
// copied.
inline QString freshCopy(const QString &path)
{
    static const QTemporaryDir folder;
    static std::atomic<int> count = 0;
    const QString place = folder.filePath(QString::number(++count));
    const QString copy = place + QLatin1Char('/') + QFileInfo(path).fileName();
    return QDir().mkpath(place) && QFile::copy(path, copy) ? copy : QString();
}

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_FILES_H
