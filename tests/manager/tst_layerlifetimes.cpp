// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A layer that is cleared while its first values are notified dies at once, and values
// that are neither logged nor notified are not read.

#include "datarows.h"
#include "managerprivate.h"

#include <QtCore/QFile>
#include <QtTest/QTest>

#include <utility>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

class tst_LayerLifetimes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLayerClearedAtItsLastNotificationDiesAtOnce_data();
    void aLayerClearedAtItsLastNotificationDiesAtOnce();
    void aFileClearedAtItsOnlyNotificationIsWrittenAtOnce();
    void aLayerThatIsNeitherLoggedNorNotifiedIsOnlyListed_data();
    void aLayerThatIsNeitherLoggedNorNotifiedIsOnlyListed();
    void aLayerThatIsLoggedIsReadWithoutHandlers();
    void aHandlerAppendedByTheLoggerIsNotified();
};

void tst_LayerLifetimes::aLayerClearedAtItsLastNotificationDiesAtOnce_data()
{
    QTest::addColumn<QVariantMap>("entries");
    QTest::addColumn<bool>("isReplacement");
    const QVariantMap one{{u"z"_s, 1}};
    const QVariantMap three{{u"a"_s, 1}, {u"b"_s, 2}, {u"z"_s, 3}};
    QTest::newRow("new, one key") << one << false;
    QTest::newRow("new, three keys") << three << false;
    QTest::newRow("replaced, one key") << one << true;
    QTest::newRow("replaced, three keys") << three << true;
}

void tst_LayerLifetimes::aLayerClearedAtItsLastNotificationDiesAtOnce()
{
    QFETCH(const QVariantMap, entries);
    QFETCH(const bool, isReplacement);
    TestHost host;
    if (isReplacement)
        addLayer(&host, SettingsType::Rdm, u"old"_s);
    bool isCleared = false;
    host.handler.reaction
            = [&](SettingsType, const QString &, const QString &key, const QVariant &) {
                  if (key == u"z"_s && !std::exchange(isCleared, true))
                      host.manager.clearStorage(SettingsType::Rdm);
              };
    privateOf(host.manager).registerStorage(makeLayer(&host, SettingsType::Rdm, u"new"_s, entries));
    const QStringList lines = host.journal.take();
    const qsizetype death = lines.indexOf(u"new: dies"_s);
    QVERIFY(death > 0);
    QCOMPARE(lines.at(death - 1), u"new: keys"_s);
    QCOMPARE(lines.at(death + 1), u"info: Storage: Rdm cleared"_s);
}

void tst_LayerLifetimes::aFileClearedAtItsOnlyNotificationIsWrittenAtOnce()
{
    TestHost host;
    const QString path = host.filePath(SettingsType::CustomConfPersistent);
    QVERIFY(writeFile(path, "[g]\nk=1\n"));
    QByteArray contents;
    bool isCleared = false;
    host.handler.reaction = [&](SettingsType, const QString &, const QString &, const QVariant &) {
        if (std::exchange(isCleared, true))
            return;
        host.manager.setValue(u"g"_s, u"x"_s, 2, SettingsType::CustomConfPersistent);
        host.manager.clearStorage(SettingsType::CustomConfPersistent);
        QFile file(path);
        if (file.open(QFile::ReadOnly))
            contents = file.readAll();
    };
    host.manager.initStorage(SettingsType::CustomConfPersistent);
    QCOMPARE(contents, QByteArray("[g]\nk=1\nx=2\n"));
}

void tst_LayerLifetimes::aLayerThatIsNeitherLoggedNorNotifiedIsOnlyListed_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys;
    QTest::newRow("RavonaConfDefault") << SettingsType::RavonaConfDefault;
}

void tst_LayerLifetimes::aLayerThatIsNeitherLoggedNorNotifiedIsOnlyListed()
{
    QFETCH(const SettingsType, type);
    TestHost host;
    addLayer(&host, SettingsType::Runtime, u"Runtime"_s, {{u"a"_s, 1}});
    host.manager.removeConfigurationHandler(&host.handler);
    privateOf(host.manager)
            .registerStorage(makeLayer(&host, type, u"new"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    QCOMPARE(host.journal.take(),
             QStringList({u"new: keys"_s,
                          u"info: Storage: %1 initialized"_s.arg(QLatin1StringView(keyOf(type)))}));
}

void tst_LayerLifetimes::aLayerThatIsLoggedIsReadWithoutHandlers()
{
    TestHost host;
    host.manager.removeConfigurationHandler(&host.handler);
    host.manager.initStorage(SettingsType::Rdm, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    QCOMPARE(host.journal.take(),
             QStringList({u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { g/a = '1', g/b = '2' }"_s}));
}

void tst_LayerLifetimes::aHandlerAppendedByTheLoggerIsNotified()
{
    class AppendingLogger final : public ILogger
    {
    public:
        explicit AppendingLogger(IConfigurationChangeHandler *handler) : m_handler(handler) { }
        void error(const QString &) override { }
        void warning(const QString &) override { }
        void info(const QString &) override { manager->appendConfigurationHandler(m_handler); }
        void debug(const QString &) override { }

        ConfigurationManager *manager = nullptr;

    private:
        IConfigurationChangeHandler *const m_handler;
    };
    Journal journal;
    RecordingHandler handler(&journal);
    AppendingLogger logger(&handler);
    ConfigurationManager manager(&logger);
    logger.manager = &manager;
    manager.initStorage(SettingsType::FeatureKeys, groupMap(u"g"_s, {{u"a"_s, 1}, {u"b"_s, 2}}));
    QCOMPARE(journal.take(),
             QStringList({u"handler: FeatureKeys g/a = int(1)"_s,
                          u"handler: FeatureKeys g/b = int(2)"_s}));
}

QTEST_GUILESS_MAIN(tst_LayerLifetimes)
#include "tst_layerlifetimes.moc"
