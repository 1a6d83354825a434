// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TINYDISK_H
#define TAMSEL_TESTS_TINYDISK_H

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <sys/types.h>

namespace tamsel::tests {

// A file system of a few memory pages, mounted while this lives. No other process sees it. Not
// every user may mount; see isMounted().
class TinyDisk
{
public:
    // Room for `pages` of data, and for `files` if that is not 0.
    explicit TinyDisk(int pages, int files = 0);
    ~TinyDisk();

    static qsizetype pageSize();

    bool isMounted() const { return m_device != 0; }
    // Why it is not mounted.
    QString error() const { return m_error; }
    QString path() const { return m_folder.path(); }

    // Uses up all space but `freePages`. Fails if path() is not the mounted file system: it would
    // fill the machine's disk.
    [[nodiscard]] bool fill(int freePages);
    // Frees the space that fill() has used up.
    [[nodiscard]] bool empty();
    [[nodiscard]] bool setReadOnly(bool on);

private:
    Q_DISABLE_COPY_MOVE(TinyDisk)

    QTemporaryDir m_folder;
    const qsizetype m_size;
    QByteArray m_options;
    dev_t m_device = 0; // of the mounted file system
    QString m_error;
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TINYDISK_H
