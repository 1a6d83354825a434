// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/settingstype.h>

#include "layers.h"
#include "threads.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QMetaObject>
#include <QtCore/QVariant>
#include <QtTest/QTest>

#include <limits>
#include <type_traits>
#include <vector>

using namespace Qt::StringLiterals;
using tamsel::priorityOf;
using tamsel::SettingsType;
using tamsel::storagePriority;
using tamsel::tests::keyOf;
using tamsel::tests::runTogether;

static_assert(std::is_same_v<std::underlying_type_t<SettingsType>, int>);
static_assert(!std::is_convertible_v<SettingsType, int>, "a scoped enumeration");
static_assert(std::is_same_v<decltype(tamsel::storagePriority), const QList<SettingsType>>);
static_assert(std::is_same_v<decltype(&tamsel::priorityOf), int (*)(SettingsType) noexcept>);

namespace {

QMetaEnum layerEnum()
{
    return tamsel::staticMetaObject.enumerator(
            tamsel::staticMetaObject.indexOfEnumerator("SettingsType"));
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
    void keyOfAnotherSpellingIsUnknown();

    void metaTypeIsNamedWithItsNamespace();
    void metaTypeLeadsToTheNamespaceMetaObject();
    void valuesAreEqualWhenTheirNumbersAre();
    void lessThanComparesNumbersAndNotPrecedence();

    void streamedAsSigned32BitNumber_data();
    void streamedAsSigned32BitNumber();
    void streamedInTheByteOrderOfTheStream();
    void streamedInsideVariant();
    void incompleteStreamIsNotRead();

    void debugOutputNamesTheValue_data();
    void debugOutputNamesTheValue();
    void leastVerboseDebugOutputOmitsTheNamespace();
    void debugOutputOfVariantNamesTheValue();
    void debugMessageNamesTheValue();

    void variantConverts_data();
    void variantConverts();
    void variantOfValueOutsideHasNoName();

    void precedenceRunsFromRuntimeToShippedDefaults();
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
}

void tst_SettingsType::layersKeepTheirNumbers_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<int>("number");
    QTest::newRow("CommandLineArgs") << SettingsType::CommandLineArgs << 0;
    QTest::newRow("CustomConfPersistent") << SettingsType::CustomConfPersistent << 1;
    QTest::newRow("Rdm") << SettingsType::Rdm << 2;
    QTest::newRow("RavonaConfDefault") << SettingsType::RavonaConfDefault << 3;
    QTest::newRow("SystemProperties") << SettingsType::SystemProperties << 4;
    QTest::newRow("Runtime") << SettingsType::Runtime << 5;
    QTest::newRow("SelviDb") << SettingsType::SelviDb << 6;
    QTest::newRow("FeatureKeys") << SettingsType::FeatureKeys << 7;
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

void tst_SettingsType::keyOfAnotherSpellingIsUnknown()
{
    bool ok = true;
    QCOMPARE(layerEnum().keyToValue("featureKeys", &ok), -1);
    QVERIFY(!ok);
    QVERIFY(!layerEnum().valueToKey(8));
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
    QVERIFY(equals(SettingsType::Rdm, SettingsType::Rdm));
    QVERIFY(equals(SettingsType(9), SettingsType(9)));
    QVERIFY(!equals(SettingsType::Rdm, SettingsType::Runtime));
    QVERIFY(!equals(SettingsType::CommandLineArgs, SettingsType(256)));
    QVERIFY(QVariant::fromValue(SettingsType::Rdm) == QVariant::fromValue(SettingsType::Rdm));
    QVERIFY(QVariant::fromValue(SettingsType::Rdm) != QVariant::fromValue(SettingsType::Runtime));
}

void tst_SettingsType::lessThanComparesNumbersAndNotPrecedence()
{
    const auto type = QMetaType::fromType<SettingsType>();
    QVERIFY(type.isOrdered());
    const auto compare
            = [&type](SettingsType lhs, SettingsType rhs) { return type.compare(&lhs, &rhs); };
    QVERIFY(SettingsType::CommandLineArgs < SettingsType::Runtime);
    QVERIFY(priorityOf(SettingsType::Runtime) < priorityOf(SettingsType::CommandLineArgs));
    QVERIFY(compare(SettingsType::CommandLineArgs, SettingsType::Runtime)
            == QPartialOrdering::Less);
    QVERIFY(compare(SettingsType::Runtime, SettingsType::CommandLineArgs)
            == QPartialOrdering::Greater);
    QVERIFY(compare(SettingsType::Runtime, SettingsType::Runtime) == QPartialOrdering::Equivalent);
    QVERIFY(compare(SettingsType(-1), SettingsType::CommandLineArgs) == QPartialOrdering::Less);
}

void tst_SettingsType::streamedAsSigned32BitNumber_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("lowest layer") << SettingsType(0) << QByteArray::fromHex("00000000");
    QTest::newRow("Runtime") << SettingsType::Runtime << QByteArray::fromHex("00000005");
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
    SettingsType byOperator = SettingsType::SelviDb;
    SettingsType byMetaType = SettingsType::SelviDb;
    in >> byOperator;
    QVERIFY(metaType.load(in, &byMetaType));
    QCOMPARE(byOperator, type);
    QCOMPARE(byMetaType, type);
    QVERIFY(in.atEnd());
    QCOMPARE(in.status(), QDataStream::Ok);
}

void tst_SettingsType::streamedInTheByteOrderOfTheStream()
{
    QByteArray written;
    QDataStream out(&written, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    const SettingsType type = SettingsType::RavonaConfDefault;
    QVERIFY(QMetaType::fromType<SettingsType>().save(out, &type));
    QCOMPARE(written, QByteArray::fromHex("03000000"));
}

void tst_SettingsType::streamedInsideVariant()
{
    QByteArray written;
    QDataStream out(&written, QIODevice::WriteOnly);
    out << QVariant::fromValue(SettingsType::SelviDb);
    QVERIFY(written.contains("tamsel::SettingsType"));
    QVERIFY(written.endsWith(QByteArray::fromHex("00000006")));

    QVariant read;
    QDataStream in(written);
    in >> read;
    QCOMPARE(read.metaType(), QMetaType::fromType<SettingsType>());
    QCOMPARE(read.value<SettingsType>(), SettingsType::SelviDb);
}

void tst_SettingsType::incompleteStreamIsNotRead()
{
    QDataStream in(QByteArray::fromHex("000005"));
    SettingsType type = SettingsType::Rdm;
    in >> type;
    QCOMPARE(in.status(), QDataStream::ReadPastEnd);
}

void tst_SettingsType::debugOutputNamesTheValue_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<QString>("text");
    for (const SettingsType type : storagePriority) {
        const auto key = QLatin1StringView(keyOf(type));
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
}

void tst_SettingsType::leastVerboseDebugOutputOmitsTheNamespace()
{
    QString text;
    QDebug(&text).verbosity(QDebug::MinimumVerbosity).nospace() << SettingsType::Runtime;
    QCOMPARE(text, u"SettingsType::Runtime"_s);
}

void tst_SettingsType::debugOutputOfVariantNamesTheValue()
{
    QString text;
    QDebug(&text).nospace() << QVariant::fromValue(SettingsType::Runtime);
    QCOMPARE(text, u"QVariant(tamsel::SettingsType, tamsel::SettingsType::Runtime)"_s);
}

void tst_SettingsType::debugMessageNamesTheValue()
{
    QTest::ignoreMessage(QtDebugMsg, "tamsel::SettingsType::Rdm tamsel::SettingsType(9)");
    qDebug() << SettingsType::Rdm << SettingsType(9);
}

void tst_SettingsType::variantConverts_data()
{
    layersKeepTheirNumbers_data();
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

void tst_SettingsType::precedenceRunsFromRuntimeToShippedDefaults()
{
    const QList<SettingsType> expected{
            SettingsType::Runtime,         SettingsType::Rdm,
            SettingsType::FeatureKeys,     SettingsType::SystemProperties,
            SettingsType::CommandLineArgs, SettingsType::CustomConfPersistent,
            SettingsType::SelviDb,         SettingsType::RavonaConfDefault,
    };
    QCOMPARE(storagePriority, expected);
}

void tst_SettingsType::priorityIsThePositionInThePrecedence_data()
{
    QTest::addColumn<SettingsType>("type");
    QTest::addColumn<int>("position");
    for (int position = 0; position < storagePriority.size(); ++position) {
        const SettingsType type = storagePriority.at(position);
        QTest::newRow(keyOf(type)) << type << position;
    }
    QTest::newRow("outside, 8") << SettingsType(8) << -1;
    QTest::newRow("outside, -1") << SettingsType(-1) << -1;
    QTest::newRow("outside, 261") << SettingsType(261) << -1; // Runtime in its lowest byte
}

void tst_SettingsType::priorityIsThePositionInThePrecedence()
{
    QFETCH(const SettingsType, type);
    QFETCH(const int, position);
    QCOMPARE(priorityOf(type), position);
}

QTEST_GUILESS_MAIN(tst_SettingsType)
#include "tst_settingstype.moc"
