// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Tests what the library's own storages look up in one step, and that all others are called through
// their virtual functions.

#include "files.h"
#include "managerprivate.h"
#include "storage/ownstorages.h"

#include <QtCore/QRectF>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <memory>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

// Converts to a map, and counts the conversions.
struct Convertible
{
    static inline int conversions = 0;
};

enum class Kind { FixedMap, ConvertedMap, Memory, File };

} // namespace

class tst_LookupStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aLookupSaysWhetherAndWhat_data();
    void aLookupSaysWhetherAndWhat();
    void everyGroupHasABit();
    void aFileCannotHoldWhatIsNotHeld();
    void aKeyOfAnyLengthIsFound_data();
    void aKeyOfAnyLengthIsFound();
    void aDerivedStorageIsAskedThroughItsSlots();
    void aGroupIsConvertedForEachQuestion();

private:
    static std::unique_ptr<LookupStorage> make(Kind kind, const QString &path);
};

void tst_LookupStorage::initTestCase()
{
    QMetaType::registerConverter<Convertible, QVariantMap>([](const Convertible &) {
        ++Convertible::conversions;
        return QVariantMap{{u"text"_s, u"a"_s}, {u"invalid"_s, QVariant()}};
    });
}

// Holds g/text = "a" and an invalid value for g/invalid.
std::unique_ptr<LookupStorage> tst_LookupStorage::make(Kind kind, const QString &path)
{
    const QVariantMap entries{{u"text"_s, u"a"_s}, {u"invalid"_s, QVariant()}};
    switch (kind) {
    case Kind::FixedMap:
        return std::make_unique<StaticMapReader>(Rdm, nullptr, nullptr,
                                                 QVariantMap{{u"g"_s, entries}});
    case Kind::ConvertedMap:
        return std::make_unique<StaticMapReader>(
                Rdm, nullptr, nullptr, QVariantMap{{u"g"_s, QVariant::fromValue(Convertible())}});
    case Kind::Memory: {
        auto storage = std::make_unique<DynamicMapStorage>(Runtime, nullptr, nullptr);
        storage->setValue(u"g"_s, u"text"_s, u"a"_s);
        storage->setValue(u"g"_s, u"invalid"_s, QVariant());
        return storage;
    }
    case Kind::File:
        if (!writeFile(path, "[g]\ntext=a\ninvalid=@Invalid()\n"))
            qFatal("cannot write a file");
        return std::make_unique<QtSettingsIniStorage>(SelviDb, nullptr, nullptr, path);
    }
    return nullptr;
}

void tst_LookupStorage::aLookupSaysWhetherAndWhat_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("fixed map") << int(Kind::FixedMap);
    QTest::newRow("converted map") << int(Kind::ConvertedMap);
    QTest::newRow("memory") << int(Kind::Memory);
    QTest::newRow("file") << int(Kind::File);
}

void tst_LookupStorage::aLookupSaysWhetherAndWhat()
{
    QFETCH(const int, kind);
    const QTemporaryDir folder;
    const auto storage = make(Kind(kind), folder.filePath(u"a.conf"_s));
    QCOMPARE(toLookupStorage(*storage), storage.get());

    QVariant value = 5;
    QVERIFY(storage->lookup({u"g"_s, u"text"_s}, &value));
    QCOMPARE(describe(value), describe(u"a"_s));
    QVERIFY(storage->lookup({u"g"_s, u"invalid"_s}, &value));
    QCOMPARE(describe(value), describe(QVariant()));

    value = 5;
    QVERIFY(!storage->lookup({u"g"_s, u"other"_s}, &value));
    QVERIFY(!storage->lookup({u"other"_s, u"text"_s}, &value));
    QVERIFY(!storage->lookup({u"h"_s, u"text"_s}, &value));
    QVERIFY(!storage->lookup({QString(), QString()}, &value));
    QVERIFY(!storage->lookup({u""_s, u"text"_s}, &value));
    const QString sameBit = u"bh"_s;
    QCOMPARE(groupBit(sameBit), groupBit(u"g"_s));
    QVERIFY(!storage->lookup({sameBit, u"text"_s}, &value));
    QVERIFY(!storage->contains(sameBit, u"text"_s));
    QCOMPARE(describe(value), describe(5));
}

void tst_LookupStorage::everyGroupHasABit()
{
    quintptr bits = 0;
    for (int i = 0; i < 64; ++i) { // consecutive letters have different bits
        const quintptr bit = groupBit(QString(QChar(u'0' + i)));
        QVERIFY(bit != 0);
        bits |= bit;
    }
    QCOMPARE(bits, ~quintptr(0));
}

void tst_LookupStorage::aFileCannotHoldWhatIsNotHeld()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.conf"_s);
    {
        QtSettingsIniStorage storage(SelviDb, nullptr, nullptr, path);
        storage.setValue(u"g"_s, u"k"_s, QRectF()); // the default for an absent key
    }
    const QtSettingsIniStorage storage(SelviDb, nullptr, nullptr, freshCopy(path));
    QVariant value;
    QVERIFY(storage.lookup({u"g"_s, u"k"_s}, &value));
    QCOMPARE(value, QVariant(QRectF()));
}

void tst_LookupStorage::aKeyOfAnyLengthIsFound_data()
{
    QTest::addColumn<int>("groupLength");
    QTest::newRow("no group") << 0;
    QTest::newRow("the longest without an allocation") << 63;
    QTest::newRow("the shortest with an allocation") << 64;
    QTest::newRow("long") << 300;
}

void tst_LookupStorage::aKeyOfAnyLengthIsFound()
{
    QFETCH(const int, groupLength);
    const QTemporaryDir folder;
    const QString group(groupLength, u'g');
    const QString key(64, u'k');
    QtSettingsIniStorage storage(SelviDb, nullptr, nullptr, folder.filePath(u"a.conf"_s));
    storage.setValue(group, key, 5);
    const LookupKey both(group, key);
    QCOMPARE(both.full(), QString(group + u'/' + key));
    QCOMPARE(both.full(), QString(group + u'/' + key)); // not appended again
    QVariant value;
    QVERIFY(storage.lookup(both, &value));
    QCOMPARE(value, QVariant(5));
}

void tst_LookupStorage::aDerivedStorageIsAskedThroughItsSlots()
{
    class Derived final : public DynamicMapStorage
    {
    public:
        using DynamicMapStorage::DynamicMapStorage;
        bool contains(const QString &, const QString &) const override { return true; }
        QVariant value(const QString &, const QString &) const override { return u"derived"_s; }
    };
    TestHost host;
    const auto layer
            = QSharedPointer<Derived>::create(Runtime, &privateOf(host.manager), &host.logger);
    QCOMPARE(toLookupStorage(*layer), nullptr);
    privateOf(host.manager).registerStorage(layer);
    QCOMPARE(host.manager.value(u"g"_s, u"k"_s), QVariant(u"derived"_s));
}

void tst_LookupStorage::aGroupIsConvertedForEachQuestion()
{
    // A host can count the conversions: one to know whether the key is held, one for its value.
    TestHost host;
    const QVariantMap map{{u"g"_s, QVariant::fromValue(Convertible())}};
    host.manager.initStorage(Runtime);
    host.manager.initStorage(FeatureKeys, map);
    const auto conversions = [](const auto &operation) {
        const int before = Convertible::conversions;
        operation();
        return Convertible::conversions - before;
    };
    ConfigurationManager &manager = host.manager;
    QCOMPARE(conversions([&] { (void)manager.value(u"g"_s, u"text"_s); }), 2);
    QCOMPARE(conversions([&] { (void)manager.value(u"g"_s, u"other"_s); }), 1);
    QCOMPARE(conversions([&] { (void)manager.value(u"h"_s, u"text"_s); }), 0);
    QCOMPARE(conversions([&] { (void)manager.contains(u"g"_s, u"text"_s); }), 1);

    // A write above does not look below, but a removal does. A write below only looks for a holder.
    const auto write = [&] { manager.setValue(u"g"_s, u"text"_s, 1, Runtime); };
    const auto remove = [&] { manager.removeValue(u"g"_s, u"text"_s, Runtime); };
    QCOMPARE(conversions(write), 0);
    QCOMPARE(conversions(remove), 2);
    manager.initStorage(SystemProperties);
    manager.setValue(u"g"_s, u"text"_s, 1, SystemProperties);
    QCOMPARE(conversions([&] { manager.removeValue(u"g"_s, u"text"_s, SystemProperties); }), 1);

    // Two keys: listed once, then each one's value is read for the message and for the handlers.
    manager.clearStorage(FeatureKeys);
    QCOMPARE(conversions([&] { manager.initStorage(Rdm, map); }), 1 + 2 + 2);
    // Both key lists; for each key its holder and the two values.
    QCOMPARE(conversions([&] { manager.initStorage(Rdm, map); }), 2 + 2 * 3);
}

QTEST_GUILESS_MAIN(tst_LookupStorage)
#include "tst_lookupstorage.moc"
