// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A key is read while other threads write and remove it in every kind of layer. What a reader gets,
// what is logged and what the handlers get is always something that a layer held.

#include "files.h"
#include "layers.h"
#include "recording.h"
#include "threads.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/iconfigurationchangehandler.h>
#include <tamsel/ilogger.h>
#include <tamsel/logsconfigwrapper.h>
#include <tamsel/settingstype.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

namespace {

constexpr std::chrono::milliseconds duration{250}; // of a row
constexpr int highest = 5; // 1 to 5 are written, in turn
constexpr int defaultValue = 0; // for readers; no layer ever holds it

const QString group = u"Logging"_s;
const QString key = u"level"_s;

// A level as a text whose length shows whether it is a mixture of two: 3 is 0003.
QString textOf(int level)
{
    return QString::number(level).rightJustified(level + 1, u'0');
}

// Logger and handler that keep the first few messages and values that no layer can have caused.
class Watch final : public ILogger, public IConfigurationChangeHandler
{
public:
    explicit Watch(bool isAlwaysHeld) : m_isAlwaysHeld(isAlwaysHeld) { }

    void error(const QString &message) override { add(message); }
    void warning(const QString &message) override { add(message); }
    void info(const QString &message) override { check(message); }
    void debug(const QString &message) override { check(message); }

    void onValueChanged(SettingsType, const QString &, const QString &,
                        const QVariant &value) override
    {
        ++m_notifications;
        if (value.isValid() ? !isWritten(value) : m_isAlwaysHeld)
            add(u"notified: "_s + describe(value));
    }

    void checkRead(const QVariant &value)
    {
        if (!isWritten(value) && (m_isAlwaysHeld || value != QVariant(defaultValue)))
            add(u"read: "_s + describe(value));
    }

    void add(const QString &line)
    {
        const std::lock_guard locker(m_mutex);
        if (m_wrong.size() < 5)
            m_wrong.append(line);
    }

    QStringList wrong() const { return m_wrong; } // once the threads have ended
    int notifications() const { return m_notifications; }

private:
    static bool isWritten(const QVariant &value)
    {
        const int level = value.toInt();
        return level >= 1 && level <= highest && value == QVariant(textOf(level));
    }

    void check(const QString &message)
    {
        static const QRegularExpression change(
                u"^Top value changed \\w+: Logging/level = '0+[1-5]'$"_s);
        if (message.startsWith("Storage: "_L1) || change.match(message).hasMatch())
            return;
        if (m_isAlwaysHeld || message != "Parameter removed from all storages: Logging:level"_L1)
            add(message);
    }

    const bool m_isAlwaysHeld;
    std::atomic<int> m_notifications = 0;
    std::mutex m_mutex;
    QStringList m_wrong; // guarded by m_mutex
};

QVariantMap levelMap(int level)
{
    return {{group, QVariantMap{{key, textOf(level)}}}};
}

} // namespace

class tst_Lookups : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReadGivesOnlyWhatALayerHeld_data();
    void aReadGivesOnlyWhatALayerHeld();
};

void tst_Lookups::aReadGivesOnlyWhatALayerHeld_data()
{
    QTest::addColumn<QList<SettingsType>>("changing");
    QTest::addColumn<bool>("isAlwaysHeld"); // by RavonaConfDefault, which nothing changes

    const QList<SettingsType> maps{Rdm, FeatureKeys, CommandLineArgs};
    const QList<SettingsType> memory{Runtime, SystemProperties};
    const QList<SettingsType> files{CustomConfPersistent, SelviDb};
    for (const bool isAlwaysHeld : {false, true}) {
        const char *suffix = isAlwaysHeld ? ", over the defaults" : "";
        QTest::addRow("fixed maps%s", suffix) << maps << isAlwaysHeld;
        QTest::addRow("memory%s", suffix) << memory << isAlwaysHeld;
        QTest::addRow("files%s", suffix) << files << isAlwaysHeld;
        QTest::addRow("all kinds%s", suffix) << maps + memory + files << isAlwaysHeld;
    }
}

void tst_Lookups::aReadGivesOnlyWhatALayerHeld()
{
    QFETCH(const QList<SettingsType>, changing);
    QFETCH(const bool, isAlwaysHeld);

    const QTemporaryDir folder;
    Watch watch(isAlwaysHeld);
    ConfigurationManager manager(&watch);
    manager.setPersistentStoragePath(folder.path() + u'/');
    manager.setAssetsPrefix(folder.path() + u'/');
    if (isAlwaysHeld) {
        QVERIFY(writeFile(folder.filePath(u"ravona.conf"_s), "[Logging]\nlevel=01\n"));
        manager.initStorage(RavonaConfDefault);
    }
    manager.appendConfigurationHandler(&watch);

    std::atomic<bool> isOver = false;
    std::vector<std::function<void()>> bodies;
    for (const SettingsType type : changing) {
        if (mapLayers.contains(type)) {
            bodies.emplace_back([&manager, &isOver, type] {
                for (int i = 0; !isOver; ++i) {
                    manager.initStorage(type, levelMap(1 + i % highest));
                    if (i % 3 == 0)
                        manager.clearStorage(type);
                }
            });
            continue;
        }
        manager.initStorage(type);
        bodies.emplace_back([&manager, &isOver, type] {
            for (int i = 0; !isOver; ++i)
                manager.setValue(group, key, textOf(1 + i % highest), type);
        });
        bodies.emplace_back([&manager, &isOver, type] {
            while (!isOver)
                manager.removeValue(group, key, type);
        });
    }
    std::atomic<int> reads = 0;
    for (int i = 0; i < 2; ++i) {
        bodies.emplace_back([&] {
            const LogsConfigWrapper wrapper(&manager);
            while (!isOver) {
                watch.checkRead(manager.value(group, key, defaultValue));
                if (isAlwaysHeld && !manager.contains(group, key))
                    watch.add(u"not contained"_s);
                if (isAlwaysHeld && wrapper.level() < 1)
                    watch.add(u"level: %1"_s.arg(wrapper.level()));
                ++reads;
            }
        });
    }

    bodies.emplace_back([&isOver] {
        std::this_thread::sleep_for(duration);
        isOver = true;
    });
    runTogether(bodies);

    QCOMPARE(watch.wrong(), QStringList());
    QCOMPARE_GT(reads, 0);
    QCOMPARE_GT(watch.notifications(), 0);
}

QTEST_GUILESS_MAIN(tst_Lookups)
#include "tst_lookups.moc"
