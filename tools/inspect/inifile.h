// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef INIFILE_H
#define INIFILE_H

#include <QtCore/QString>
#include <QtCore/QStringList>

class QByteArray;
class QSettings;

// A settings file as QSettings reads it; one that is missing is empty.
class IniFile
{
public:
    // Throws a UserError if the file cannot be read, or not safely.
    explicit IniFile(const QString &fileName);

    // The loaded contents. Every layer on the same file shares them.
    const QSettings &settings() const { return *m_settings; }

    // The full keys of all entries, in their order.
    const QStringList &entries() const { return m_entries; }

    // A message for each line that QSettings skips or misreads.
    const QStringList &warnings() const { return m_warnings; }

private:
    Q_DISABLE_COPY_MOVE(IniFile)

    qsizetype checkLines(const QByteArray &contents);

    const QString m_fileName;
    const QSettings *m_settings; // never deleted
    QStringList m_entries;
    QStringList m_warnings;
};

#endif // INIFILE_H
