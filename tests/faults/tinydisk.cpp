// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "tinydisk.h"

#include <QtCore/QFile>

#include <cerrno>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// Enters a private mount namespace: mounts made from now on end with the process. Returns 0 or the
// errno, the same for every later disk.
int leaveMounts()
{
    static const int failure = unshare(CLONE_NEWNS) == 0
                    && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            ? 0
            : errno;
    return failure;
}

// The device number of the file system that a file is on, or 0.
dev_t deviceOf(const QString &path)
{
    struct stat status = {};
    return stat(qPrintable(path), &status) == 0 ? status.st_dev : 0;
}

} // namespace

TinyDisk::TinyDisk(int pages, int files)
    : m_size(pages * pageSize()), m_options("size=" + QByteArray::number(m_size))
{
    if (files > 0)
        m_options += ",nr_inodes=" + QByteArray::number(files + 1); // the root directory counts too
    if (!m_folder.isValid())
        m_error = m_folder.errorString();
    else if (const int failure = leaveMounts())
        m_error = qt_error_string(failure);
    else if (mount("tmpfs", qPrintable(path()), "tmpfs", 0, m_options.constData()) != 0)
        m_error = qt_error_string();
    else
        m_device = deviceOf(path());
}

TinyDisk::~TinyDisk()
{
    if (isMounted())
        umount2(qPrintable(path()), MNT_DETACH);
}

qsizetype TinyDisk::pageSize()
{
    return qsizetype(sysconf(_SC_PAGESIZE));
}

bool TinyDisk::fill(int freePages)
{
    QFile filler(path() + u"/filler"_s);
    if (!isMounted() || deviceOf(path()) != m_device
        || !filler.open(QFile::WriteOnly | QFile::Unbuffered))
        return false;
    const QByteArray page(pageSize(), 'x');
    qsizetype size = 0;
    while (filler.write(page) == page.size()) {
        size += page.size();
        if (size > m_size) { // this is another disk
            filler.remove();
            return false;
        }
    }
    return filler.resize(filler.size() / pageSize() * pageSize() - freePages * pageSize());
}

bool TinyDisk::empty()
{
    return QFile::remove(path() + u"/filler"_s);
}

bool TinyDisk::setReadOnly(bool on)
{
    unsigned long flags = MS_REMOUNT;
    if (on)
        flags |= MS_RDONLY;
    return mount("tmpfs", qPrintable(path()), "tmpfs", flags, m_options.constData()) == 0;
}

} // namespace tamsel::tests
