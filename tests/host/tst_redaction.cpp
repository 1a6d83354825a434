// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include <tamsel/host/redaction.h>

#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using tamsel::host::Redaction;

class tst_Redaction : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aPatternIsMatchedWithGroupAndKey_data();
    void aPatternIsMatchedWithGroupAndKey();
    void theDefaultPatternsFindCommonSecrets_data();
    void theDefaultPatternsFindCommonSecrets();
    void membersOfMapsAreRedacted_data();
    void membersOfMapsAreRedacted();
    void whatIsNestedTooDeepIsRedacted();
    void otherValuesAreUnchanged_data();
    void otherValuesAreUnchanged();
};

void tst_Redaction::aPatternIsMatchedWithGroupAndKey_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("matches");

    QTest::newRow("all of it") << u"net/key"_s << u"net"_s << u"key"_s << true;
    QTest::newRow("not a part") << u"net/ke"_s << u"net"_s << u"key"_s << false;
    QTest::newRow("not the key alone") << u"key"_s << u"net"_s << u"key"_s << false;
    QTest::newRow("any text at the end") << u"net/*"_s << u"net"_s << u"key"_s << true;
    QTest::newRow("any text, slashes included") << u"*c"_s << u"a"_s << u"b/c"_s << true;
    QTest::newRow("slashes are one text") << u"a/b/c"_s << u"a/b"_s << u"c"_s << true;
    QTest::newRow("a slash in a word") << u"*b/c*"_s << u"a"_s << u"b/c"_s << true;
    QTest::newRow("a word in the group") << u"*wifi*"_s << u"my wifi"_s << u"key"_s << true;
    QTest::newRow("a word across the slash") << u"*ab*"_s << u"a"_s << u"b"_s << false;
    QTest::newRow("one character") << u"net/k?y"_s << u"net"_s << u"key"_s << true;
    QTest::newRow("no two characters") << u"net/k?"_s << u"net"_s << u"key"_s << false;
    QTest::newRow("one character of a word") << u"*k?y*"_s << u"net"_s << u"akeya"_s << true;
    QTest::newRow("one of several") << u"net/[kl]ey"_s << u"net"_s << u"ley"_s << true;
    QTest::newRow("none of several") << u"net/[kl]ey"_s << u"net"_s << u"mey"_s << false;
    QTest::newRow("case of an expression") << u"NET/k*"_s << u"net"_s << u"KEY"_s << true;
    QTest::newRow("case of a word") << u"*PassWord*"_s << u"net"_s << u"thepassworD2"_s << true;
    QTest::newRow("letters beyond ASCII") << u"*schlüssel*"_s << u"g"_s << u"SCHLÜSSEL"_s << true;
    QTest::newRow("a line end") << u"g/a*"_s << u"g"_s << u"a\nb"_s << true;
    QTest::newRow("a dot is a dot") << u"g/a.b"_s << u"g"_s << u"axb"_s << false;
    QTest::newRow("all") << u"*"_s << QString() << QString() << true;
    QTest::newRow("all, twice") << u"**"_s << u"g"_s << u"k"_s << true;
    QTest::newRow("nothing") << QString() << QString() << QString() << false;
    QTest::newRow("no Unicode") << u"g/pass?*"_s << u"g"_s << u"pass"_s + QChar(0xd800) << true;
    QTest::newRow("too much to search") << u"g/"_s + u"*a"_s.repeated(40) + u'b' << u"g"_s
                                        << QString(5000, u'a') + u"ba"_s << true;
    QTest::newRow("cannot be understood") << u"[a"_s << u"g"_s << u"k"_s << true;
}

void tst_Redaction::aPatternIsMatchedWithGroupAndKey()
{
    QFETCH(const QString, pattern);
    QFETCH(const QString, group);
    QFETCH(const QString, key);
    QFETCH(const bool, matches);

    const Redaction redaction({u"x/y"_s, pattern});
    QCOMPARE(redaction.patterns(), QStringList({u"x/y"_s, pattern}));
    QCOMPARE(redaction.matches(group, key), matches);
    QCOMPARE(redaction.redacted(group, key, 5), matches ? QVariant(u"(redacted)"_s) : QVariant(5));
    QVERIFY(redaction.matches(u"x"_s, u"y"_s));
    QVERIFY(!Redaction(QStringList()).matches(group, key));
}

void tst_Redaction::theDefaultPatternsFindCommonSecrets_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("matches");

    QTest::newRow("password") << u"userPassword"_s << true;
    QTest::newRow("token") << u"token2"_s << true;
    QTest::newRow("secret") << u"client_secret"_s << true;
    QTest::newRow("PIN") << u"PIN"_s << true;
    QTest::newRow("by chance") << u"spinner"_s << true;
    QTest::newRow("none") << u"lang"_s << false;
}

void tst_Redaction::theDefaultPatternsFindCommonSecrets()
{
    QFETCH(const QString, key);
    QFETCH(const bool, matches);

    const Redaction redaction;
    QCOMPARE(redaction.matches(u"ui"_s, key), matches);
    QCOMPARE(redaction.patterns(), Redaction::defaultPatterns());
    Redaction copy({u"none"_s});
    copy = redaction;
    QCOMPARE(Redaction(copy).matches(u"ui"_s, key), matches);
}

void tst_Redaction::membersOfMapsAreRedacted_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("redacted");

    const QVariantMap before{{u"user"_s, u"me"_s}, {u"pin"_s, 1234}};
    const QVariantMap after{{u"user"_s, u"me"_s}, {u"pin"_s, u"(redacted)"_s}};
    QTest::newRow("a map") << QVariant(before) << QVariant(after);
    QTest::newRow("a hash") << QVariant(QVariantHash{{u"pin"_s, 1}, {u"a"_s, 2}})
                            << QVariant(QVariantHash{{u"pin"_s, u"(redacted)"_s}, {u"a"_s, 2}});
    QTest::newRow("a map in a map")
            << QVariant(QVariantMap{{u"a"_s, before}}) << QVariant(QVariantMap{{u"a"_s, after}});
    QTest::newRow("a map in a list")
            << QVariant(QVariantList{1, before}) << QVariant(QVariantList{1, after});
    const QVariant inner(before);
    QTest::newRow("a map in a value")
            << QVariant(QMetaType::fromType<QVariant>(), &inner) << QVariant(after);
    const QJsonObject object = QJsonObject::fromVariantMap(before);
    QTest::newRow("a JSON object") << QVariant(object) << QVariant(after);
    QTest::newRow("a JSON value") << QVariant(QJsonValue(object)) << QVariant(after);
    QTest::newRow("a map of texts")
            << QVariant::fromValue(QMap<QString, QString>{{u"pin"_s, u"1"_s}, {u"a"_s, u"2"_s}})
            << QVariant(QVariantMap{{u"pin"_s, u"(redacted)"_s}, {u"a"_s, u"2"_s}});
    QTest::newRow("a list of maps")
            << QVariant::fromValue(QList<QVariantMap>{before}) << QVariant(QVariantList{after});
    QTest::newRow("a CBOR map") << QVariant::fromValue(QCborMap::fromVariantMap(before))
                                << QVariant(after);
    QTest::newRow("a CBOR value") << QVariant::fromValue(QCborValue::fromVariant(before))
                                  << QVariant(after);
    QTest::newRow("a CBOR array") << QVariant::fromValue(QCborArray::fromVariantList({before}))
                                  << QVariant(QVariantList{after});
    QTest::newRow("a JSON document") << QVariant(QJsonDocument(object)) << QVariant(after);
}

void tst_Redaction::membersOfMapsAreRedacted()
{
    QFETCH(const QVariant, value);
    QFETCH(const QVariant, redacted);

    QVariant shown = Redaction().redacted(u"net"_s, u"account"_s, value);
    QCOMPARE(shown.toJsonValue(), redacted.toJsonValue());
    // A member is addressed by its path.
    shown = Redaction({u"net/account/pin"_s, u"net/account/a/pin"_s})
                    .redacted(u"net"_s, u"account"_s, value);
    QCOMPARE(shown.toJsonValue(), redacted.toJsonValue());
}

void tst_Redaction::whatIsNestedTooDeepIsRedacted()
{
    const auto nested = [](QVariant value, int levels) {
        for (int i = 0; i < levels; ++i)
            value = QVariantList{value};
        return value;
    };
    const Redaction redaction;
    QCOMPARE(redaction.redacted(u"g"_s, u"k"_s, nested(1, 500)), nested(1, 500));
    QCOMPARE(redaction.redacted(u"g"_s, u"k"_s, nested(1, 501)), nested(u"(redacted)"_s, 501));
}

void tst_Redaction::otherValuesAreUnchanged_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("a text about a PIN") << QVariant(u"pin=1234"_s);
    QTest::newRow("a list of texts") << QVariant(QStringList{u"pin"_s, u"1234"_s});
    QTest::newRow("a map without secrets") << QVariant(QVariantMap{{u"a"_s, 1}});
    QTest::newRow("a map of texts without secrets")
            << QVariant::fromValue(QMap<QString, QString>{{u"a"_s, u"1"_s}});
    QTest::newRow("bytes") << QVariant(QByteArray("pin"));
    QTest::newRow("invalid") << QVariant();
}

void tst_Redaction::otherValuesAreUnchanged()
{
    QFETCH(const QVariant, value);

    const QVariant redacted = Redaction().redacted(u"ui"_s, u"lang"_s, value);
    QCOMPARE(redacted, value);
    QCOMPARE(redacted.metaType(), value.metaType());
}

QTEST_GUILESS_MAIN(tst_Redaction)
#include "tst_redaction.moc"
