// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "storage/staticmapreader.h"

#include "storagetesting.h"

#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <map>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

using Layer = RecordedStorage<StaticMapReader, Rdm>;

// Can be converted to a map only once a test registers the conversion.
struct Convertible
{
};

enum class Level { Off = 0 };

} // namespace

class tst_StaticMapReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void keysOfAConvertedGroupAreSortedToo();

    void whateverConvertsToAMapIsAGroup_data();
    void whateverConvertsToAMapIsAGroup();
    void aConversionMayComeLate();

    void theHostsChangesDoNotReachTheLayer();
    void changesOfAnAnswerDoNotReachTheLayer();
    void theMapIsSharedAndReleased();
};

void tst_StaticMapReader::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_StaticMapReader::keysOfAConvertedGroupAreSortedToo()
{
    QVariantHash entries;
    KeyList expected;
    for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
        entries.insert(QString(letter), 1);
        expected.append({u"g"_s, QString(letter)});
    }
    entries.insert(u"B"_s, 1);
    expected.prepend({u"g"_s, u"B"_s});
    QCOMPARE(Layer(QVariantMap{{u"g"_s, entries}}).storage->keys(), expected);
}

void tst_StaticMapReader::whateverConvertsToAMapIsAGroup_data()
{
    QTest::addColumn<QVariant>("group");
    QTest::addColumn<QVariant>("value"); // the value of k; invalid if k is not held
    const auto row = [](const char *name, const QVariant &group, const QVariant &value = {}) {
        QTest::newRow(name) << group << value;
    };
    row("QVariantMap", QVariantMap{{u"k"_s, 5}}, 5);
    row("QVariantHash", QVariantHash{{u"k"_s, 5}}, 5);
    row("QMap<QString, int>", QVariant::fromValue(QMap<QString, int>{{u"k"_s, 5}}), 5);
    row("QHash<QString, QString>", QVariant::fromValue(QHash<QString, QString>{{u"k"_s, u"en"_s}}),
        u"en"_s);
    row("std::map<QString, QVariant>",
        QVariant::fromValue(std::map<QString, QVariant>{{u"k"_s, 5}}), 5);
    row("QJsonObject", QJsonObject{{u"k"_s, u"en"_s}}, u"en"_s);
    row("QJsonValue of an object", QJsonValue(QJsonObject{{u"k"_s, u"en"_s}}), u"en"_s);

    // The type converts, but the value has no entries.
    row("null QVariantMap", QVariant(QMetaType::fromType<QVariantMap>()));
    row("empty QVariantMap", QVariantMap());
    row("null QVariantHash", QVariant(QMetaType::fromType<QVariantHash>()));
    row("QJsonValue of a number", QJsonValue(5));

    // A group that does not convert to a map is empty.
    row("number", 4);
    row("text", u"k"_s);
    row("text of a map", u"{\"k\": 1}"_s);
    row("bytes", "k"_ba);
    row("list of texts", QStringList{u"k"_s, u"l"_s});
    row("list of a map", QVariantList{QVariantMap{{u"k"_s, 1}}});
    row("enumerator", QVariant::fromValue(Level::Off));
    row("type without conversions", QVariant::fromValue(Convertible()));
    row("null pointer", QVariant::fromValue(nullptr));
    row("map that may hold a key twice",
        QVariant::fromValue(QMultiMap<QString, QVariant>{{u"k"_s, 1}}));
    row("invalid", QVariant());
}

void tst_StaticMapReader::whateverConvertsToAMapIsAGroup()
{
    QFETCH(const QVariant, group);
    QFETCH(const QVariant, value);
    Layer layer(QVariantMap{{u"a"_s, QVariantMap{{u"k"_s, 1}}},
                            {u"g"_s, group},
                            {u"z"_s, QVariantMap{{u"k"_s, 1}}}});
    QVERIFY(layer.storage->isAvailable());
    QCOMPARE(layer.storage->contains(u"g"_s, u"k"_s), value.isValid());
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(value));
    for (const QString &key : {u"l"_s, QString()}) {
        QVERIFY(!layer.storage->contains(u"g"_s, key));
        QCOMPARE(shown(layer.storage->value(u"g"_s, key)), shown(QVariant()));
    }
    KeyList keys{{u"a"_s, u"k"_s}, {u"g"_s, u"k"_s}, {u"z"_s, u"k"_s}};
    if (!value.isValid())
        keys.removeAt(1);
    QCOMPARE(layer.storage->keys(), keys);
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_StaticMapReader::aConversionMayComeLate()
{
    Layer layer(QVariantMap{{u"g"_s, QVariant::fromValue(Convertible())}});
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(layer.storage->keys(), KeyList());
    {
        QVERIFY((QMetaType::registerConverter<Convertible, QVariantMap>([](const Convertible &) {
            return QVariantMap{{u"k"_s, 1}};
        })));
        const auto unregister = qScopeGuard([] {
            QMetaType::unregisterConverterFunction(QMetaType::fromType<Convertible>(),
                                                   QMetaType::fromType<QVariantMap>());
        });
        QVERIFY(layer.storage->contains(u"g"_s, u"k"_s));
        QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(1));
        QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    }
    QVERIFY(!layer.storage->contains(u"g"_s, u"k"_s));
    QCOMPARE(layer.storage->keys(), KeyList());
}

void tst_StaticMapReader::theHostsChangesDoNotReachTheLayer()
{
    QVariantMap values{{u"g"_s, QVariantMap{{u"k"_s, 1}, {u"l"_s, 2}}},
                       {u"h"_s, QVariantHash{{u"k"_s, 3}}}};
    Layer layer(values);
    (*static_cast<QVariantMap *>(values[u"g"_s].data()))[u"k"_s] = 9;
    (*static_cast<QVariantHash *>(values[u"h"_s].data())).remove(u"k"_s);
    values.insert(u"new"_s, QVariantMap{{u"k"_s, 9}});
    const KeyList held{{u"g"_s, u"k"_s}, {u"g"_s, u"l"_s}, {u"h"_s, u"k"_s}};
    QCOMPARE(layer.storage->keys(), held);
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(1));
    QCOMPARE(shown(layer.storage->value(u"h"_s, u"k"_s)), shown(3));
    QVERIFY(!layer.storage->contains(u"new"_s, u"k"_s));

    values.clear();
    QCOMPARE(layer.storage->keys(), held);
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"l"_s)), shown(2));
    QCOMPARE(layer.journal.take(), QStringList());
}

void tst_StaticMapReader::changesOfAnAnswerDoNotReachTheLayer()
{
    const QVariantMap values{{u"g"_s, QVariantMap{{u"k"_s, QVariantMap{{u"a"_s, 1}}}}}};
    Layer layer(values);
    QVariant read = layer.storage->value(u"g"_s, u"k"_s);
    (*static_cast<QVariantMap *>(read.data()))[u"a"_s] = 9;
    KeyList keys = layer.storage->keys();
    keys.clear();
    QCOMPARE(shown(layer.storage->value(u"g"_s, u"k"_s)), shown(QVariantMap{{u"a"_s, 1}}));
    QCOMPARE(layer.storage->keys(), KeyList({{u"g"_s, u"k"_s}}));
    QCOMPARE(shown(values.value(u"g"_s).toMap().value(u"k"_s)), shown(QVariantMap{{u"a"_s, 1}}));

    layer.storage.reset();
    QCOMPARE(shown(read), shown(QVariantMap{{u"a"_s, 9}}));
}

void tst_StaticMapReader::theMapIsSharedAndReleased()
{
    const QVariantMap values{{u"g"_s, QVariantMap{{u"k"_s, 1}}}};
    QVERIFY(values.isDetached());
    Layer layer(values);
    QVERIFY(!values.isDetached());
    (void)layer.storage->value(u"g"_s, u"k"_s);
    (void)layer.storage->keys();
    QVERIFY(!values.isDetached());
    layer.storage.reset();
    QVERIFY(values.isDetached());
    QCOMPARE(layer.journal.take(), QStringList());
}

QTEST_GUILESS_MAIN(tst_StaticMapReader)
#include "tst_staticmapreader.moc"
