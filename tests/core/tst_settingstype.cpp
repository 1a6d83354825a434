// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/settingstype.h>

#include "layers.h"
#include "threads.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QMetaObject>
#include <QtCore/QVariant>
#include <QtTest/QTest>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

static_assert(std::is_same_v<std::underlying_type_t<SettingsType>, int>);
static_assert(!std::is_convertible_v<SettingsType, int>, "a scoped enumeration");
static_assert(std::is_same_v<decltype(storagePriority), const QList<SettingsType>>);
static_assert(std::is_same_v<decltype(&priorityOf), int (*)(SettingsType) noexcept>);

namespace {

QByteArray reverse(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

QMetaEnum layerEnum()
{
    return staticMetaObject.enumerator(staticMetaObject.indexOfEnumerator("SettingsType"));
}

} // namespace

class tst_SettingsType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Stays in front: no other test may have asked for the id before.
    void firstRequestsOfSeveralThreadsGiveOneId();

    void namespaceMetaObjectHoldsTheEnumeratorAndNothingElse();
    void enumeratorIsScopedAndHasNoAlias();
    void layersKeepTheirNumbers_data();
    void layersKeepTheirNumbers();

    void metaTypeIsNamedWithItsNamespace();
    void metaTypeLeadsToTheNamespaceMetaObject();
    void valuesAreEqualWhenTheirNumbersAre();
    void lessThanComparesNumbersAndNotPrecedence();

    void streamedAsSigned32BitNumber_data();
    void streamedAsSigned32BitNumber();
    void streamedInsideVariant();

    void debugOutputNamesTheValue_data();
    void debugOutputNamesTheValue();

    void variantConverts_data() { layersKeepTheirNumbers_data(); }
    void variantConverts();
    void variantOfValueOutsideHasNoName();

    void priorityIsThePositionInThePrecedence_data();
    void priorityIsThePositionInThePrecedence();
};

void tst_SettingsType::firstRequestsOfSeveralThreadsGiveOneId()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QVERIFY(!type.isRegistered());

    constexpr int threadCount = 8;
    std::vector<int> ids(threadCount);
    runTogether(threadCount, [&ids](int thread) {
        ids.at(static_cast<std::size_t>(thread)) = qMetaTypeId<SettingsType>();
    });

    QVERIFY(type.isRegistered());
    QVERIFY(ids.front() >= QMetaType::User);
    QCOMPARE(ids, std::vector<int>(threadCount, ids.front()));
    QCOMPARE(qMetaTypeId<SettingsType>(), ids.front());
    QCOMPARE(qRegisterMetaType<SettingsType>(), ids.front());
    QCOMPARE(type.id(), ids.front());
}

void tst_SettingsType::namespaceMetaObjectHoldsTheEnumeratorAndNothingElse()
{
    const QMetaObject &meta = tamsel::staticMetaObject;
    QCOMPARE(meta.className(), "tamsel");
    QVERIFY(!meta.superClass());
    QCOMPARE(meta.enumeratorCount(), 1);
    QCOMPARE(meta.methodCount(), 0);
    QCOMPARE(meta.constructorCount(), 0);
    QCOMPARE(meta.propertyCount(), 0);
    QCOMPARE(meta.classInfoCount(), 0);
}

void tst_SettingsType::enumeratorIsScopedAndHasNoAlias()
{
    const QMetaEnum layers = layerEnum();
    QVERIFY(layers.isValid());
    QCOMPARE(layers.name(), "SettingsType");
    QCOMPARE(layers.enumName(), "SettingsType");
    QCOMPARE(layers.scope(), "tamsel");
    QVERIFY(layers.isScoped());
    QVERIFY(!layers.isFlag());
    QCOMPARE(layers.keyCount(), 8);
    QVERIFY(!layers.valueToKey(8));
    bool ok = true;
    QCOMPARE(layers.keyToValue("featureKeys", &ok), -1); // the case counts
    QVERIFY(!ok);
}

void tst_SettingsType::layersKeepTheirNumbers_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<int>("number");
    QTest::newRow("CommandLineArgs") << CommandLineArgs << 0;
    QTest::newRow("CustomConfPersistent") << CustomConfPersistent << 1;
    QTest::newRow("Rdm") << Rdm << 2;
    QTest::newRow("RavonaConfDefault") << RavonaConfDefault << 3;
    QTest::newRow("SystemProperties") << SystemProperties << 4;
    QTest::newRow("Runtime") << Runtime << 5;
    QTest::newRow("SelviDb") << SelviDb << 6;
    QTest::newRow("FeatureKeys") << FeatureKeys << 7;
}

void tst_SettingsType::layersKeepTheirNumbers()
{
    QFETCH(const SettingsType, type);
    QFETCH(const int, number);
    QCOMPARE(static_cast<int>(type), number);
    QCOMPARE(layerEnum().keyToValue(QTest::currentDataTag()), number);
    QCOMPARE(layerEnum().key(number), QTest::currentDataTag()); // in the order of the numbers
    QCOMPARE(layerEnum().value(number), number);
    QCOMPARE(keyOf(type), QTest::currentDataTag());
}

void tst_SettingsType::metaTypeIsNamedWithItsNamespace()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QCOMPARE(type.name(), "tamsel::SettingsType");
    // By its name, and by no other, once it has been asked for.
    QCOMPARE(qMetaTypeId<SettingsType>(), type.id());
    QCOMPARE(QMetaType::fromName("tamsel::SettingsType"), type);
    QVERIFY(!QMetaType::fromName("SettingsType").isValid());
}

void tst_SettingsType::metaTypeLeadsToTheNamespaceMetaObject()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QVERIFY(type.flags().testFlag(QMetaType::IsEnumeration));
    QVERIFY(!type.flags().testFlag(QMetaType::IsUnsignedEnumeration));
    QCOMPARE(type.sizeOf(), qsizetype(4));
    QCOMPARE(type.metaObject(), &tamsel::staticMetaObject);
    QCOMPARE(QMetaEnum::fromType<SettingsType>().keyToValue("FeatureKeys"), 7);
}

void tst_SettingsType::valuesAreEqualWhenTheirNumbersAre()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QVERIFY(type.isEqualityComparable());
    const auto equals
            = [&type](SettingsType lhs, SettingsType rhs) { return type.equals(&lhs, &rhs); };
    QVERIFY(equals(Rdm, Rdm));
    QVERIFY(equals(SettingsType(9), SettingsType(9)));
    QVERIFY(!equals(Rdm, Runtime));
    QVERIFY(!equals(CommandLineArgs, SettingsType(256)));
    QVERIFY(QVariant::fromValue(Rdm) == QVariant::fromValue(Rdm));
    QVERIFY(QVariant::fromValue(Rdm) != QVariant::fromValue(Runtime));
}

void tst_SettingsType::lessThanComparesNumbersAndNotPrecedence()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QVERIFY(type.isOrdered());
    const auto compare
            = [&type](SettingsType lhs, SettingsType rhs) { return type.compare(&lhs, &rhs); };
    QVERIFY(CommandLineArgs < Runtime);
    QVERIFY(priorityOf(Runtime) < priorityOf(CommandLineArgs));
    QVERIFY(compare(CommandLineArgs, Runtime) == QPartialOrdering::Less);
    QVERIFY(compare(Runtime, CommandLineArgs) == QPartialOrdering::Greater);
    QVERIFY(compare(Runtime, Runtime) == QPartialOrdering::Equivalent);
    QVERIFY(compare(SettingsType(-1), CommandLineArgs) == QPartialOrdering::Less);
}

void tst_SettingsType::streamedAsSigned32BitNumber_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("lowest layer") << SettingsType(0) << QByteArray::fromHex("00000000");
    QTest::newRow("Runtime") << Runtime << QByteArray::fromHex("00000005");
    QTest::newRow("highest layer") << SettingsType(7) << QByteArray::fromHex("00000007");
    QTest::newRow("outside, 9") << SettingsType(9) << QByteArray::fromHex("00000009");
    QTest::newRow("outside, -2") << SettingsType(-2) << QByteArray::fromHex("fffffffe");
    QTest::newRow("outside, largest")
            << SettingsType(std::numeric_limits<int>::max()) << QByteArray::fromHex("7fffffff");
}

void tst_SettingsType::streamedAsSigned32BitNumber()
{
    QFETCH(const SettingsType, type);
    QFETCH(const QByteArray, bytes);
    const auto metaType = QMetaType::fromType<SettingsType>();
    QVERIFY(metaType.hasRegisteredDataStreamOperators());

    QByteArray written;
    QDataStream out(&written, QIODevice::WriteOnly);
    out << type;
    QCOMPARE(written, bytes);
    QVERIFY(metaType.save(out, &type));
    QCOMPARE(written, bytes + bytes);

    QDataStream in(written);
    SettingsType byOperator = SelviDb;
    SettingsType byMetaType = SelviDb;
    in >> byOperator;
    QVERIFY(metaType.load(in, &byMetaType));
    QCOMPARE(byOperator, type);
    QCOMPARE(byMetaType, type);
    QVERIFY(in.atEnd());
    QCOMPARE(in.status(), QDataStream::Ok);
    QDataStream incomplete(bytes.first(3));
    incomplete >> byOperator;
    QCOMPARE(incomplete.status(), QDataStream::ReadPastEnd);

    QByteArray reversed; // in the byte order of the stream
    QDataStream littleEndian(&reversed, QIODevice::WriteOnly);
    littleEndian.setByteOrder(QDataStream::LittleEndian);
    QVERIFY(metaType.save(littleEndian, &type));
    QCOMPARE(reversed, reverse(bytes));
}

void tst_SettingsType::streamedInsideVariant()
{
    QByteArray written;
    QDataStream out(&written, QIODevice::WriteOnly);
    out << QVariant::fromValue(SelviDb);
    QVERIFY(written.contains("tamsel::SettingsType"));
    QVERIFY(written.endsWith(QByteArray::fromHex("00000006")));

    QVariant read;
    QDataStream in(written);
    in >> read;
    QCOMPARE(read.metaType(), QMetaType::fromType<SettingsType>());
    QCOMPARE(read.value<SettingsType>(), SelviDb);
}

void tst_SettingsType::debugOutputNamesTheValue_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("text");
    for (const SettingsType type : storagePriority) {
        const auto key = nameOf(type);
        QTest::newRow(keyOf(type)) << type << u"tamsel::SettingsType::%1"_s.arg(key);
    }
    QTest::newRow("outside, 8") << SettingsType(8) << u"tamsel::SettingsType(8)"_s;
    QTest::newRow("outside, -1") << SettingsType(-1) << u"tamsel::SettingsType(-1)"_s;
}

void tst_SettingsType::debugOutputNamesTheValue()
{
    QFETCH(const SettingsType, type);
    QFETCH(const QString, text);

    QString byOperator;
    QDebug(&byOperator).nospace() << type;
    QCOMPARE(byOperator, text);

    QString byMetaType;
    {
        QDebug debug(&byMetaType);
        debug.nospace();
        QVERIFY(QMetaType::fromType<SettingsType>().debugStream(debug, &type));
    }
    QCOMPARE(byMetaType, text);

    QString inVariant;
    QDebug(&inVariant).nospace() << QVariant::fromValue(type);
    QCOMPARE(inVariant, QString("QVariant(tamsel::SettingsType, "_L1 + text + ')'_L1));

    QString leastVerbose; // without the namespace
    QDebug(&leastVerbose).verbosity(QDebug::MinimumVerbosity).nospace() << type;
    QCOMPARE(leastVerbose, text.sliced(text.indexOf("SettingsType"_L1)));

    QTest::ignoreMessage(QtDebugMsg, qPrintable(text + " at all"_L1));
    qDebug() << type << "at all";
}

void tst_SettingsType::variantConverts()
{
    QFETCH(const SettingsType, type);
    QFETCH(const int, number);
    const QString name = QString::fromLatin1(QTest::currentDataTag());

    const QVariant variant = QVariant::fromValue(type);
    QCOMPARE(variant.typeName(), "tamsel::SettingsType");
    QCOMPARE(variant.value<SettingsType>(), type);
    QCOMPARE(variant.toString(), name);
    QCOMPARE(variant.toInt(), number);
    QCOMPARE(QVariant(name).value<SettingsType>(), type);
    QCOMPARE(QVariant(number).value<SettingsType>(), type);
}

void tst_SettingsType::variantOfValueOutsideHasNoName()
{
    const QVariant variant = QVariant::fromValue(SettingsType(9));
    QCOMPARE(variant.toString(), QString());
    QCOMPARE(variant.toInt(), 9);
    QCOMPARE(variant.value<SettingsType>(), SettingsType(9));
}

void tst_SettingsType::priorityIsThePositionInThePrecedence_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<int>("position");
    int position = 0;
    for (const SettingsType type : {Runtime, Rdm, FeatureKeys, SystemProperties, CommandLineArgs,
                                    CustomConfPersistent, SelviDb, RavonaConfDefault})
        QTest::newRow(keyOf(type)) << type << position++;
    QTest::newRow("outside, 8") << SettingsType(8) << -1;
    QTest::newRow("outside, -1") << SettingsType(-1) << -1;
    QTest::newRow("outside, 261") << SettingsType(261) << -1; // Runtime in its lowest byte
}

void tst_SettingsType::priorityIsThePositionInThePrecedence()
{
    QFETCH(const SettingsType, type);
    QFETCH(const int, position);
    QCOMPARE(priorityOf(type), position);
    QCOMPARE(storagePriority.indexOf(type), position);
    QCOMPARE(storagePriority.size(), 8);
}

QTEST_GUILESS_MAIN(tst_SettingsType)
#include "tst_settingstype.moc"
