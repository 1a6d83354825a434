// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "tinydisk.h"

#include <QtCore/QFile>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

/*! Leaves the mounts of the machine: those made from now on are ours and end with the process. */
bool leaveMounts()
{
    static const bool left = unshare(CLONE_NEWNS) == 0
            && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return left;
}

} // namespace

TinyDisk::TinyDisk(int pages, int files)
    : m_options("size=" + QByteArray::number(pages * pageSize()))
{
    if (files > 0)
        m_options += ",nr_inodes=" + QByteArray::number(files + 1); // the root is one too
    if (!m_folder.isValid())
        m_error = m_folder.errorString();
    else if (!leaveMounts()
             || mount("tmpfs", qPrintable(path()), "tmpfs", 0, m_options.constData()) != 0)
        m_error = qt_error_string();
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
    if (!filler.open(QFile::WriteOnly | QFile::Unbuffered))
        return false;
    const QByteArray page(pageSize(), 'x');
    while (filler.write(page) == page.size()) { }
    return filler.resize(filler.size() / pageSize() * pageSize() - freePages * pageSize());
}

bool TinyDisk::empty()
{
    return QFile::remove(path() + u"/filler"_s);
}

bool TinyDisk::setReadOnly(bool on)
{
    return mount("tmpfs", qPrintable(path()), "tmpfs", MS_REMOUNT | (on ? MS_RDONLY : 0),
                 m_options.constData())
            == 0;
}

} // namespace tamsel::tests
