// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "qtsettingsinistorage.h"

#include <tamsel/ilogger.h>

#include <QtCore/QAtomicInt>
#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QRectF>
#include <QtCore/QSettings>
#include <QtCore/QThread>

#include <typeinfo>

using namespace Qt::StringLiterals;

namespace tamsel {

namespace {

// The default that QSettings returns for an absent key. A QRectF is too large to be stored inside a
// QVariant, so copies share it, and no value from a file has its address.
const QVariant &notHeld()
{
    // Intentional: never deleted. A manager that is a static object may still be read at exit.
    static const auto *const value = new QVariant(QRectF());
    return *value;
}

} // namespace

// QSettings posts no UpdateRequest while it flushes. A change that another thread makes meanwhile would
// be written neither by the event loop nor by the destructor. So one is posted here for changes of
// other threads, unless one is posted already.
class QtSettingsIniStorage::Settings final : public QSettings
{
public:
    explicit Settings(const QString &fileName) : QSettings(fileName, IniFormat) { }

    ~Settings() override
    {
        if (m_flush.loadAcquire() == None)
            return;
        QEvent request(QEvent::UpdateRequest);
        try {
            QSettings::event(&request);
        } catch (...) { // ignored, as QSettings does
        }
    }

    // Call it after each change.
    void requestFlush()
    {
        if (QThread::currentThreadId() == m_thread
            || m_flush.fetchAndStoreOrdered(Posted) == Posted)
            return;
        try {
            QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
        } catch (...) { // out of memory: the next change or the destructor flushes
            m_flush.storeRelease(Wanted);
        }
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest) {
            // One flush is enough for all posted events. Remove them first: an event that is posted
            // after m_flush is reset has to stay.
            QCoreApplication::removePostedEvents(this, QEvent::UpdateRequest);
            m_flush.fetchAndStoreOrdered(None);
        }
        return QSettings::event(event);
    }

private:
    enum Flush { None, Wanted, Posted };

    const Qt::HANDLE m_thread = QThread::currentThreadId(); // its event loop writes the file
    QAtomicInt m_flush = None; // for the changes of other threads
};

QtSettingsIniStorage::QtSettingsIniStorage(SettingsType type, IConfigurationChangeHandler *handler,
                                           ILogger *logger, const QString &fileName)
    : LookupStorage(type, handler, logger), m_settings(std::make_unique<Settings>(fileName))
{
}

QtSettingsIniStorage::~QtSettingsIniStorage() = default;

bool QtSettingsIniStorage::isAvailable() const
{
    return m_settings->status() == QSettings::NoError;
}

bool QtSettingsIniStorage::contains(const QString &group, const QString &key) const
{
    return m_settings->contains(FullKey(group, key).text());
}

QVariant QtSettingsIniStorage::value(const QString &group, const QString &key) const
{
    return m_settings->value(FullKey(group, key).text());
}

bool QtSettingsIniStorage::lookup(const LookupKey &key, QVariant *value) const
{
    const QVariant &missing = notHeld();
    QVariant found = m_settings->value(key.full(), missing);
    if (found.constData() == missing.constData())
        return false;
    value->swap(found);
    return true;
}

void QtSettingsIniStorage::setValue(const QString &group, const QString &key, const QVariant &value)
{
    if (!m_settings->isWritable()) {
        logger()->error(u"unable to write value %1 (%2/%3) to %4, file is not writable"_s.arg(
                value.toString(), group, key, m_settings->fileName()));
        return;
    }
    const FullKey fullKey(group, key);
    // value() of this class would build the key again, so only that of a derived class is called.
    if ((typeid(*this) == typeid(QtSettingsIniStorage) ? m_settings->value(fullKey.text())
                                                       : this->value(group, key))
        == value)
        return;
    m_settings->setValue(fullKey.text(), value);
    m_settings->requestFlush();
    notify(group, key, value);
}

void QtSettingsIniStorage::remove(const QString &group, const QString &key)
{
    if (!m_settings->isWritable()) {
        logger()->error(
                u"unable to remove value %1/%2 from %3"_s.arg(group, key, m_settings->fileName()));
        return;
    }
    m_settings->remove(FullKey(group, key).text());
    m_settings->requestFlush();
    // Intentional: unlike in memory, removing an absent key is notified.
    notify(group, key, QVariant());
}

KeyList QtSettingsIniStorage::keys() const
{
    KeyList result;
    const QStringList fullKeys = m_settings->allKeys();
    result.reserve(fullKeys.size());
    QString group = u""_s; // shared by consecutive keys of a group
    for (const QString &fullKey : fullKeys) {
        // Intentional: a key without "/" is its own group, middle segments are dropped.
        const QStringView first = QStringView(fullKey).left(fullKey.indexOf(u'/'));
        if (group != first)
            group = first.toString();
        result.append({group, fullKey.mid(fullKey.lastIndexOf(u'/') + 1)});
    }
    return result;
}

} // namespace tamsel
