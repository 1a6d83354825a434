// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Names and values at the edges. What happens in the files is QSettings' doing and is written down
// here, so that a change of Qt does not go unnoticed.

#include "journal.h"
#include "recordinghandler.h"
#include "recordinglogger.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::tests;

namespace {

constexpr auto fileLayer = SettingsType::CustomConfPersistent;

/*! A manager over a file of its own; reread() has it parsed again as another process would. */
class FileHost
{
public:
    FileHost() : manager(&m_logger)
    {
        manager.setPersistentStoragePath(m_directory.path() + u'/');
        manager.initStorage(fileLayer);
    }

    void reread()
    {
        const QString previous = fileName();
        manager.clearStorage(fileLayer);
        // Another name: QSettings remembers the content of files that it has seen.
        manager.setPersistentStoragePath(manager.persistentStoragePath() + u"again-"_s);
        QVERIFY(QFile::copy(previous, fileName()));
        manager.initStorage(fileLayer);
    }

    QString fileName() const { return manager.persistentStoragePath() + u"custom.conf"_s; }

    QByteArray fileText() const
    {
        QFile file(fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    Journal journal;

private:
    RecordingLogger m_logger{&journal};
    QTemporaryDir m_directory;

public:
    ConfigurationManager manager;
};

const QString nul(QChar(u'\0')); // clazy:exclude=non-pod-global-static
const QString loneSurrogate(QChar(0xd800)); // clazy:exclude=non-pod-global-static

} // namespace

class tst_Edges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layersInMemoryKeepEveryNameApart();
    void logLinesTakeNamesAndValuesAsTheyAre();
    void filesKeepNames_data();
    void filesKeepNames();
    void namesThatDifferOnlyInSlashesShareOneEntryOfAFile_data();
    void namesThatDifferOnlyInSlashesShareOneEntryOfAFile();
    void aGroupNamedGeneralInLowerCaseIsLostWhenTheFileIsReadAnew();
    void anEntryBelowAnotherIsRemovedWithIt();
    void filesKeepValues_data();
    void filesKeepValues();
    void aLoneSurrogateInAValueDoesNotReachTheFile();
    void everyLayerTakesNamesAndValuesOfAMebibyte();
    void aGroupMayHoldAHundredThousandKeys();
    void aGroupInAFileMayHoldAHundredThousandKeys();
};

void tst_Edges::layersInMemoryKeepEveryNameApart()
{
    const QStringList names{u""_s,   u"/"_s,    u"a"_s,       u"a/b"_s,      u"A"_s, u"%1"_s,
                            u" a"_s, u"a\nb"_s, u"a"_s + nul, loneSurrogate, nul};
    Journal journal;
    RecordingLogger logger(&journal);
    ConfigurationManager manager(&logger);
    manager.initStorage(SettingsType::Runtime);
    QVariantMap fixed;
    for (const QString &group : names) {
        QVariantMap entries;
        for (const QString &key : names) {
            manager.setValue(group, key, QVariant(u"Runtime's "_s + group + u'|' + key),
                             SettingsType::Runtime);
            entries.insert(key, QString(u"Rdm's "_s + group + u'|' + key));
        }
        fixed.insert(group, entries);
    }

    for (const QString &group : names) {
        for (const QString &key : names)
            QCOMPARE(manager.value(group, key), QVariant(u"Runtime's "_s + group + u'|' + key));
    }
    manager.clearStorage(SettingsType::Runtime);
    manager.initStorage(SettingsType::Rdm, fixed);
    for (const QString &group : names) {
        for (const QString &key : names)
            QCOMPARE(manager.value(group, key), QVariant(u"Rdm's "_s + group + u'|' + key));
    }
}

void tst_Edges::logLinesTakeNamesAndValuesAsTheyAre()
{
    Journal journal;
    RecordingLogger logger(&journal);
    ConfigurationManager manager(&logger);
    manager.initStorage(SettingsType::Runtime);
    (void)journal.take();

    manager.setValue(u"%2"_s, u"%3%4"_s, u"%1'\n%99"_s, SettingsType::Runtime);
    manager.setValue(u""_s, u""_s, nul, SettingsType::Runtime);
    manager.removeValue(u"%2"_s, u"%3%4"_s, SettingsType::Runtime);
    manager.initStorage(SettingsType::Rdm,
                        {{u"%1"_s, QVariantMap{{u"%2"_s, u"%3"_s}, {u"}"_s, u"',"_s}}}});

    QCOMPARE(journal.take(),
             QStringList({u"debug: Top value changed Runtime: %2/%3%4 = '%1'\n%99'"_s,
                          u"debug: Top value changed Runtime: / = '"_s + nul + u"'"_s,
                          u"debug: Parameter removed from all storages: %2:%3%4"_s,
                          u"info: Storage: Rdm initialized"_s,
                          u"info: Top values changed: Rdm: { %1/%2 = '%3', %1/} = '',' }"_s}));
}

void tst_Edges::filesKeepNames_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("empty group") << u""_s << u"k"_s << QByteArray("[General]\nk=v\n");
    QTest::newRow("empty key") << u"g"_s << u""_s << QByteArray("[General]\ng=v\n");
    QTest::newRow("both empty") << u""_s << u""_s << QByteArray("[General]\n=v\n");
    QTest::newRow("slash in the group") << u"a/b"_s << u"k"_s << QByteArray("[a]\nb\\k=v\n");
    QTest::newRow("slash in the key") << u"g"_s << u"a/b"_s << QByteArray("[g]\na\\b=v\n");
    QTest::newRow("percent") << u"%41"_s << u"%1"_s << QByteArray("[%2541]\n%251=v\n");
    QTest::newRow("line breaks") << u"a\r\nb"_s << u"a\nb"_s << QByteArray("[a%0D%0Ab]\na%0Ab=v\n");
    QTest::newRow("NUL") << nul << u"x"_s + nul << QByteArray("[%00]\nx%00=v\n");
    QTest::newRow("lone surrogate")
            << loneSurrogate << loneSurrogate << QByteArray("[%UD800]\n%UD800=v\n");
    QTest::newRow("blanks at the ends")
            << u" g "_s << u" k "_s << QByteArray("[%20g%20]\n%20k%20=v\n");
    QTest::newRow("marks of the format")
            << u"[;]"_s << u"a=b#"_s << QByteArray("[%5B%3B%5D]\na%3Db%23=v\n");
    QTest::newRow("backslash") << u"a\\b"_s << u"\\"_s << QByteArray("[a%5Cb]\n%5C=v\n");
    QTest::newRow("beyond Latin 1")
            << u"ключ"_s << u"k"_s << QByteArray("[%U043A%U043B%U044E%U0447]\nk=v\n");
    QTest::newRow("General") << u"General"_s << u"General"_s
                             << QByteArray("[%General]\nGeneral=v\n");
}

void tst_Edges::filesKeepNames()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QByteArray, text);
    FileHost host;

    host.manager.setValue(group, key, u"v"_s, fileLayer);
    QCOMPARE(host.manager.value(group, key), QVariant(u"v"_s));
    host.reread();

    QCOMPARE(host.fileText(), text);
    QVERIFY(host.manager.storageAvailable(fileLayer));
    QCOMPARE(host.manager.value(group, key), QVariant(u"v"_s));
}

void tst_Edges::namesThatDifferOnlyInSlashesShareOneEntryOfAFile_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");

    QTest::newRow("slash moved") << u"a/b"_s << u"c"_s;
    QTest::newRow("slash in front") << u"/a"_s << u"b/c"_s;
    QTest::newRow("slash behind") << u"a"_s << u"b/c/"_s;
    QTest::newRow("slash doubled") << u"a/"_s << u"/b//c"_s;
    QTest::newRow("empty group") << u""_s << u"a/b/c"_s;
    QTest::newRow("empty key") << u"a/b/c"_s << u""_s;
}

void tst_Edges::namesThatDifferOnlyInSlashesShareOneEntryOfAFile()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    FileHost host;

    host.manager.setValue(u"a"_s, u"b/c"_s, u"v"_s, fileLayer);
    QCOMPARE(host.manager.value(group, key), QVariant(u"v"_s));
}

void tst_Edges::aGroupNamedGeneralInLowerCaseIsLostWhenTheFileIsReadAnew()
{
    FileHost host;
    host.manager.setValue(u"general"_s, u"k"_s, u"v"_s, fileLayer);
    QCOMPARE(host.manager.value(u"general"_s, u"k"_s), QVariant(u"v"_s));
    host.reread();

    // QSettings keeps "general" in any case apart from its own section, but with one spelling only.
    QCOMPARE(host.fileText(), QByteArray("[%General]\nk=v\n"));
    QVERIFY(!host.manager.contains(u"general"_s, u"k"_s));
    QCOMPARE(host.manager.value(u"General"_s, u"k"_s), QVariant(u"v"_s));
}

void tst_Edges::anEntryBelowAnotherIsRemovedWithIt()
{
    FileHost host;
    host.manager.setValue(u"a"_s, u"b"_s, u"v"_s, fileLayer);
    host.manager.setValue(u"a"_s, u"b/c"_s, u"below"_s, fileLayer);
    host.manager.setValue(u"a"_s, u"bc"_s, u"beside"_s, fileLayer);
    RecordingHandler handler(&host.journal);
    host.manager.appendConfigurationHandler(&handler);
    (void)host.journal.take();

    host.manager.removeValue(u"a"_s, u"b"_s, fileLayer);

    // Only the pair that was asked for is reported.
    QCOMPARE(host.journal.take(),
             QStringList({u"debug: Parameter removed from all storages: a:b"_s,
                          u"handler: CustomConfPersistent a/b = invalid"_s}));
    QVERIFY(!host.manager.contains(u"a"_s, u"b/c"_s));
    QCOMPARE(host.manager.value(u"a"_s, u"bc"_s), QVariant(u"beside"_s));
}

void tst_Edges::filesKeepValues_data()
{
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("reread");
    QTest::addColumn<QByteArray>("text");

    const auto row = [](const char *name, const QVariant &written, const QVariant &reread,
                        const char *text) {
        QTest::newRow(name) << written << reread << QByteArray(text);
    };
    const QString endsInNul = u"a"_s + nul;
    row("text", u"en"_s, u"en"_s, "en");
    row("empty text", u""_s, u""_s, "");
    row("number becomes text", 5, u"5"_s, "5");
    row("fraction becomes text", 0.5, u"0.5"_s, "0.5");
    row("truth becomes text", true, u"true"_s, "true");
    row("list of texts", QStringList{u"a"_s, u"b,c"_s}, QStringList{u"a"_s, u"b,c"_s},
        "a, \"b,c\"");
    row("list of one text becomes text", QStringList{u"a"_s}, u"a"_s, "a");
    row("bytes", QByteArray("a\0b", 3), QByteArray("a\0b", 3), "@ByteArray(a\\0\\x62)");
    row("percent", u"%1 %41 %"_s, u"%1 %41 %"_s, "%1 %41 %");
    row("line breaks", u"a\r\nb"_s, u"a\r\nb"_s, "a\\r\\nb");
    row("NUL", endsInNul, endsInNul, "@String(a\\0)");
    row("blanks at the ends", u" a "_s, u" a "_s, "\" a \"");
    row("at sign", u"@Invalid()"_s, u"@Invalid()"_s, "@@Invalid()");
    row("marks of the format", u"a=b;c,d\"e\\"_s, u"a=b;c,d\"e\\"_s, "\"a=b;c,d\\\"e\\\\\"");
    row("beyond Latin 1", u"ключ"_s, u"ключ"_s, "ключ");
}

void tst_Edges::filesKeepValues()
{
    QFETCH(QVariant, written);
    QFETCH(QVariant, reread);
    QFETCH(QByteArray, text);
    FileHost host;

    host.manager.setValue(u"g"_s, u"k"_s, written, fileLayer);
    QCOMPARE(describe(host.manager.value(u"g"_s, u"k"_s)), describe(written));
    host.reread();

    QCOMPARE(host.fileText(), "[g]\nk=" + text + '\n');
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s).metaType(), reread.metaType());
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), reread);
}

void tst_Edges::aLoneSurrogateInAValueDoesNotReachTheFile()
{
    FileHost host;
    const QString inside = u"a"_s + loneSurrogate + u"b"_s;
    const QString atTheEnd = u"a"_s + loneSurrogate;
    host.manager.setValue(u"g"_s, u"inside"_s, inside, fileLayer);
    host.manager.setValue(u"g"_s, u"end"_s, atTheEnd, fileLayer);
    QCOMPARE(host.manager.value(u"g"_s, u"inside"_s), QVariant(inside));
    QCOMPARE(host.manager.value(u"g"_s, u"end"_s), QVariant(atTheEnd));
    host.reread();

    QCOMPARE(host.manager.value(u"g"_s, u"inside"_s), QVariant(u"a\ufffdb"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"end"_s), QVariant(u"a"_s));
}

void tst_Edges::everyLayerTakesNamesAndValuesOfAMebibyte()
{
    const QString name(1 << 20, u'n');
    const auto mebibyte = [](char16_t character) { return QString(1 << 20, character); };
    FileHost host;
    host.manager.initStorage(SettingsType::Runtime);

    host.manager.setValue(name, name, mebibyte(u'c'), fileLayer);
    host.reread();
    QCOMPARE(host.manager.value(name, name), QVariant(mebibyte(u'c')));

    host.manager.setValue(name, name, mebibyte(u'r'), SettingsType::Runtime);
    QCOMPARE(host.manager.value(name, name), QVariant(mebibyte(u'r')));
    host.manager.clearStorage(SettingsType::Runtime);
    host.manager.initStorage(SettingsType::Rdm, {{name, QVariantMap{{name, mebibyte(u'f')}}}});
    QCOMPARE(host.manager.value(name, name), QVariant(mebibyte(u'f')));
}

void tst_Edges::aGroupMayHoldAHundredThousandKeys()
{
    constexpr int count = 100'000;
    QVariantMap entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QString::number(i), i);
    Journal journal;
    RecordingLogger logger(&journal);
    RecordingHandler handler(&journal);
    ConfigurationManager manager(&logger);
    manager.appendConfigurationHandler(&handler);

    manager.initStorage(SettingsType::FeatureKeys, {{u"g"_s, entries}});
    QCOMPARE(journal.take().size(), count + 1);
    QCOMPARE(manager.value(u"g"_s, QString::number(count - 1)), QVariant(count - 1));

    entries.insert(u"0"_s, u"changed"_s);
    entries.remove(u"1"_s);
    manager.initStorage(SettingsType::FeatureKeys, {{u"g"_s, entries}});
    QCOMPARE(journal.take(),
             QStringList({u"info: Storage: FeatureKeys reinitialized"_s,
                          u"handler: FeatureKeys g/1 = invalid"_s,
                          u"handler: FeatureKeys g/0 = QString(changed)"_s}));

    manager.clearStorage(SettingsType::FeatureKeys);
    QCOMPARE(journal.take().size(), count);
}

void tst_Edges::aGroupInAFileMayHoldAHundredThousandKeys()
{
    constexpr int count = 100'000;
    QByteArray text = "[g]\n";
    for (int i = 0; i < count; ++i)
        text += QByteArray::number(i) + "=value " + QByteArray::number(i) + '\n';
    FileHost host;
    host.manager.clearStorage(fileLayer);
    {
        QFile file(host.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), text.size());
    }
    host.manager.initStorage(fileLayer);
    QVERIFY(host.manager.storageAvailable(fileLayer));
    host.manager.setValue(u"g"_s, u"500"_s, u"changed"_s, fileLayer);
    host.journal.take();

    host.reread();
    QCOMPARE(host.journal.take().filter(u"Top values changed"_s).size(), 1);
    QCOMPARE(host.manager.value(u"g"_s, u"0"_s), QVariant(u"value 0"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"500"_s), QVariant(u"changed"_s));
    QCOMPARE(host.manager.value(u"g"_s, u"99999"_s), QVariant(u"value 99999"_s));
    QCOMPARE(host.fileText().count('='), count);
}

QTEST_GUILESS_MAIN(tst_Edges)

#include "tst_edges.moc"
