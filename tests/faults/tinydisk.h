// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_TINYDISK_H
#define TAMSEL_TESTS_TINYDISK_H

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

namespace tamsel::tests {

/*!
 * A file system of a few memory pages, mounted while this lives, where nobody but this process sees
 * it. Mounting takes rights that not everybody has, see isMounted().
 */
class TinyDisk
{
public:
    /*! Room for \a pages of data, and for \a files if that is not 0. */
    explicit TinyDisk(int pages, int files = 0);
    ~TinyDisk();

    static qsizetype pageSize();

    bool isMounted() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }
    QString path() const { return m_folder.path(); }

    /*! Uses up all the room but \a freePages. */
    bool fill(int freePages);
    /*! Gives back what fill() has used up. */
    bool empty();
    bool setReadOnly(bool on);

private:
    Q_DISABLE_COPY_MOVE(TinyDisk)

    QTemporaryDir m_folder;
    QByteArray m_options;
    QString m_error; // why it is not mounted
};

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_TINYDISK_H
