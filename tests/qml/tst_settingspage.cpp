// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The example's page, driven by the keys of a remote control alone.

#include "../../examples/settop/hostvalues.h"
#include "settingsbox.h"

#include <QtCore/QFile>
#include <QtCore/QMetaEnum>
#include <QtCore/QSize>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlComponent>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QTest>

#include <optional>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

// A list follows its model, and texts find their place, when they are drawn. QTRY_VERIFY() of newer Qt does
// not compile without a warning of -Wconversion.
template <typename Condition> bool waitFor(const Condition &condition)
{
    return QTest::qWaitFor(condition, 10'000);
}

} // namespace

class tst_SettingsPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void rowsAreReachedAndChangedByArrows();
    void aFixedSettingIsNotChanged();
    void aChoiceIsTakenAndReset();
    void aRowWithNothingToChooseOpensNoSheet();
    void aFixedRowSaysWhatBecameOfTheViewersChoice();
    void engineersSeeFilterAndGoBack();
    void lettersNarrowTheTableDown();
    void theFocusLeavesAnEmptyTable();
    void theTableIsFilteredByArrows();
    void nothingIsShownNearTheEdges();
    void storedTextsAreShownAsTheyAre();
    void valuesOfEachTypeAreReadable_data();
    void valuesOfEachTypeAreReadable();
    void layersAreCalledAsInTheLibrary();
    void overriddenLayersAreNamed();
    void theGuideShowsWhatWorks();

private:
    void press(const QList<Qt::Key> &keys);
    QString focused() const;
    void openEngineeringPage();
    QObject *find(const QString &name) const { return m_window->findChild<QObject *>(name); }
    QList<QQuickItem *> textsWith(const QString &part) const;
    QString shown(const QString &function, const QVariant &argument);
    QString value(const QString &group, const QString &key)
    {
        return m_box->settings().value(group, key).toString();
    }

    std::optional<QTemporaryDir> m_storage;
    std::optional<SettingsBox> m_box;
    std::optional<QQmlApplicationEngine> m_engine;
    QQuickWindow *m_window = nullptr;
};

void tst_SettingsPage::init()
{
    m_storage.emplace();
    m_box.emplace(m_storage->path() + u'/', QStringLiteral(SETTOP_ASSETS_DIR) + u'/',
                  QVariantMap());
    m_engine.emplace();
    QTest::failOnWarning(QRegularExpression(u"\\.qml"_s));
    m_engine->load(QUrl(u"qrc:/qt-project.org/imports/SettingsPage/Main.qml"_s));
    QCOMPARE(m_engine->rootObjects().size(), 1);
    m_window = qobject_cast<QQuickWindow *>(m_engine->rootObjects().constFirst());
    QVERIFY(QTest::qWaitForWindowActive(m_window));
}

void tst_SettingsPage::cleanup()
{
    m_engine.reset();
    m_box.reset();
    m_storage.reset();
}

// After each key the focus is somewhere, and shown.
void tst_SettingsPage::press(const QList<Qt::Key> &keys)
{
    for (const Qt::Key key : keys) {
        QTest::keyClick(m_window, key);
        QQuickItem *item = m_window->activeFocusItem();
        QVERIFY(item);
        if (item->inherits("QQuickListView")) {
            const QQuickItem *list = item;
            QVERIFY(waitFor(
                    [&] { return (item = list->property("currentItem").value<QQuickItem *>()); }));
        }
        QVERIFY2(item->property("isFocused").toBool(), qPrintable(item->objectName()));
        QVERIFY(item->isVisible());
    }
}

// The name of what has the focus; a chip of a list has that of the list.
QString tst_SettingsPage::focused() const
{
    const QQuickItem *item = m_window->activeFocusItem();
    while (item && item->objectName().isEmpty())
        item = item->parentItem();
    return item ? item->objectName() : QString();
}

void tst_SettingsPage::openEngineeringPage()
{
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return});
    QCOMPARE(focused(), u"filters"_s);
}

// The items that show a text with this part in it.
QList<QQuickItem *> tst_SettingsPage::textsWith(const QString &part) const
{
    QList<QQuickItem *> result;
    QList<QQuickItem *> items{m_window->contentItem()};
    while (!items.isEmpty()) {
        QQuickItem *item = items.takeLast();
        items += item->childItems();
        if (item->isVisible() && item->inherits("QQuickText")
            && item->property("text").toString().contains(part))
            result += item;
    }
    return result;
}

// What a function of Theme returns.
QString tst_SettingsPage::shown(const QString &function, const QVariant &argument)
{
    const QString text = u"import QtQml; import SettingsPage\n"_s
            + u"QtObject { property var value; property string text: Theme.%1(value) }"_s.arg(
                    function);
    QQmlComponent component(&*m_engine);
    component.setData(text.toUtf8(), QUrl(u"shown.qml"_s));
    const std::unique_ptr<QObject> object(
            component.createWithInitialProperties({{u"value"_s, argument}}));
    return object ? object->property("text").toString() : component.errorString();
}

void tst_SettingsPage::rowsAreReachedAndChangedByArrows()
{
    QCOMPARE(focused(), u"language"_s);
    press({Qt::Key_Down, Qt::Key_Right, Qt::Key_Right, Qt::Key_Left});
    QCOMPARE(focused(), u"volume"_s);
    QCOMPARE(value(u"player"_s, u"volume"_s), u"45"_s);
    QVERIFY(m_box->settings().contains(u"player"_s, u"volume"_s,
                                       SettingsType::CustomConfPersistent));
    press({Qt::Key_Up, Qt::Key_Right});
    QCOMPARE(value(u"ui"_s, u"lang"_s), u"fr"_s); // "de" is of the profile
    press({Qt::Key_Up});
    QCOMPARE(focused(), u"language"_s);
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down});
    QCOMPARE(focused(), u"engineering"_s);
}

void tst_SettingsPage::aFixedSettingIsNotChanged()
{
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down});
    QCOMPARE(focused(), u"theme"_s);
    QVERIFY(find(u"theme"_s)->property("isLocked").toBool());
    press({Qt::Key_Right});
    QVERIFY(!m_box->settings().contains(u"ui"_s, u"theme"_s, SettingsType::CustomConfPersistent));
    // The operator leaves it to the viewer.
    m_box->settings().clearStorage(SettingsType::Rdm);
    QVERIFY(!find(u"theme"_s)->property("isLocked").toBool());
    press({Qt::Key_Right});
    QCOMPARE(value(u"ui"_s, u"theme"_s), u"dark"_s);
}

void tst_SettingsPage::aChoiceIsTakenAndReset()
{
    press({Qt::Key_Return, Qt::Key_Down, Qt::Key_Select});
    QCOMPARE(value(u"ui"_s, u"lang"_s), u"fr"_s);
    QCOMPARE(focused(), u"language"_s);
    // English, Deutsch, Français (current), Türkçe, Reset
    press({Qt::Key_Enter, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return});
    QCOMPARE(value(u"ui"_s, u"lang"_s), u"de"_s);
    QVERIFY(!m_box->settings().contains(u"ui"_s, u"lang"_s, SettingsType::CustomConfPersistent));
    press({Qt::Key_Return});
    QVERIFY(find(u"sheet"_s)->property("visible").toBool());
    press({Qt::Key_Back});
    QVERIFY(!find(u"sheet"_s)->property("visible").toBool());
    QCOMPARE(focused(), u"language"_s);
}

// A number without a value of the viewer's own: OK has neither a choice nor a reset to offer.
void tst_SettingsPage::aRowWithNothingToChooseOpensNoSheet()
{
    const QObject *sheet = find(u"sheet"_s);
    press({Qt::Key_Down, Qt::Key_Return});
    QCOMPARE(focused(), u"volume"_s);
    QVERIFY(!sheet->property("visible").toBool());
    QVERIFY(textsWith(u"Reset"_s).isEmpty()); // nor does the bar below
    press({Qt::Key_Right});
    QCOMPARE(textsWith(u"Reset"_s).size(), 1);
    press({Qt::Key_Return});
    QVERIFY(sheet->property("visible").toBool());
    press({Qt::Key_Return});
    QVERIFY(!m_box->settings().contains(u"player"_s, u"volume"_s));
}

void tst_SettingsPage::aFixedRowSaysWhatBecameOfTheViewersChoice()
{
    const QString kept = u"Your own choice is kept"_s;
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return});
    QCOMPARE(textsWith(u"This value is fixed."_s).size(), 1);
    QCOMPARE(textsWith(kept).size(), 0);
    press({Qt::Key_Return}); // Close
    m_box->settings().clearStorage(SettingsType::Rdm);
    press({Qt::Key_Right});
    m_box->settings().initStorage(SettingsType::Rdm, rdmValues());
    press({Qt::Key_Return});
    QCOMPARE(textsWith(kept).size(), 1);
}

void tst_SettingsPage::engineersSeeFilterAndGoBack()
{
    openEngineeringPage();
    const QObject *table = find(u"table"_s);
    const int all = table->property("count").toInt();
    QVERIFY(all > 10);
    press({Qt::Key_Right, Qt::Key_Right});
    QCOMPARE(table->property("count"), 2); // network/server, network/timeout
    m_box->settings().setValue(u"network"_s, u"zone"_s, u"none"_s, SettingsType::Runtime);
    QCOMPARE(table->property("count"), 3);
    press({Qt::Key_Down, Qt::Key_Down});
    QCOMPARE(focused(), u"table"_s);
    QCOMPARE(table->property("currentIndex"), 1);
    press({Qt::Key_Escape});
    QCOMPARE(focused(), u"engineering"_s);
}

void tst_SettingsPage::lettersNarrowTheTableDown()
{
    openEngineeringPage();
    const QObject *table = find(u"table"_s);
    const int all = table->property("count").toInt();
    press({Qt::Key_L, Qt::Key_A, Qt::Key_N, Qt::Key_G});
    QCOMPARE(table->property("count"), 1);
    press({Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Backspace});
    QCOMPARE(table->property("count"), all);
}

void tst_SettingsPage::theFocusLeavesAnEmptyTable()
{
    openEngineeringPage();
    press({Qt::Key_Down});
    QCOMPARE(focused(), u"table"_s);
    press({Qt::Key_Z, Qt::Key_Z, Qt::Key_Z});
    QCOMPARE(find(u"table"_s)->property("count"), 0);
    QCOMPARE(focused(), u"filters"_s);
    press({Qt::Key_Down});
    QCOMPARE(focused(), u"filters"_s);
    press({Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Down});
    QCOMPARE(focused(), u"table"_s);

    // It becomes empty while the other page is shown.
    m_box->settings().setValue(u"q"_s, u"qqq"_s, 1, SettingsType::Runtime);
    press({Qt::Key_Q, Qt::Key_Q, Qt::Key_Q});
    QCOMPARE(focused(), u"table"_s);
    press({Qt::Key_Back});
    m_box->settings().removeValue(u"q"_s, u"qqq"_s, SettingsType::Runtime);
    press({Qt::Key_Return});
    QCOMPARE(focused(), u"filters"_s);
}

void tst_SettingsPage::theTableIsFilteredByArrows()
{
    openEngineeringPage();
    const QObject *filters = find(u"filters"_s);
    const QObject *table = find(u"table"_s);
    const int all = table->property("count").toInt();
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Right, Qt::Key_Right});
    QCOMPARE(focused(), u"table"_s);
    QCOMPARE(filters->property("currentIndex"), 2);
    QCOMPARE(table->property("count"), 2); // network/server, network/timeout
    press({Qt::Key_Left, Qt::Key_Left, Qt::Key_Left});
    QCOMPARE(filters->property("currentIndex"), 0);
    QCOMPARE(table->property("count"), all);
    // A search ends where the filters begin.
    press({Qt::Key_L, Qt::Key_A, Qt::Key_N, Qt::Key_G});
    QCOMPARE(table->property("count"), 1);
    press({Qt::Key_Left});
    QCOMPARE(table->property("count"), all);
}

// A television may cut off a twentieth of each side.
void tst_SettingsPage::nothingIsShownNearTheEdges()
{
    const QRectF kept(64, 36, 1280 - 2 * 64, 720 - 2 * 36);
    const auto isKept = [&](const QQuickItem *item) {
        return kept.contains(item->mapRectToScene(QRectF(0, 0, item->width(), item->height())));
    };
    const auto check = [&](const char *title) {
        const QList<QQuickItem *> texts = textsWith(QString());
        QVERIFY(texts.size() > 8);
        QVERIFY(!textsWith(QLatin1String(title)).isEmpty());
        for (const QQuickItem *text : texts) {
            const QQuickItem *list
                    = find(u"table"_s)->property("contentItem").value<QQuickItem *>();
            if (!list->isAncestorOf(text)) // its rows are cut off
                QVERIFY2(waitFor([&] { return isKept(text); }),
                         qPrintable(text->property("text").toString()));
        }
        QVERIFY(isKept(m_window->activeFocusItem()));
    };
    check("Settings");
    press({Qt::Key_Right, Qt::Key_Return});
    check("Close");
    press({Qt::Key_Back});
    openEngineeringPage();
    check("Engineering");
    QVERIFY(isKept(qobject_cast<QQuickItem *>(find(u"table"_s))));
    const auto *bar = qobject_cast<QQuickItem *>(find(u"bar"_s));
    QVERIFY(waitFor([&] { return bar->isVisible(); }));
    QVERIFY(isKept(bar));
}

// Files, an operator and profiles may hold anything.
void tst_SettingsPage::storedTextsAreShownAsTheyAre()
{
    auto &settings = m_box->settings();
    const QString stored = u"<b>x</b>\n<img src='file:///x.png'>"_s
            + u"a text of a length that no row has room for "_s.repeated(4);
    const QString shownText = uR"(<b>x</b>\n<img)"_s;
    settings.setValue(u"ui"_s, u"lang"_s, stored, SettingsType::Runtime);
    settings.setValue(u"player"_s, u"volume"_s, stored, SettingsType::Runtime);
    settings.setValue(u"<b>group</b>"_s, u"<b>x</b>\n<img>"_s, stored, SettingsType::Runtime);

    const auto check = [&](qsizetype expected) {
        QVERIFY(waitFor([&] { return textsWith(shownText).size() == expected; }));
        for (const QQuickItem *text : textsWith(shownText)) {
            QCOMPARE(text->property("textFormat").toInt(), int(Qt::PlainText));
            QCOMPARE(text->property("lineCount"), 1);
            QVERIFY(text->property("contentWidth").toReal() <= text->width());
            QVERIFY(text->width() < 800);
        }
    };
    check(2); // language and volume
    openEngineeringPage();
    press({Qt::Key_Asterisk, Qt::Key_X, Qt::Key_Asterisk});
    check(2); // the key and the value of the last one
}

void tst_SettingsPage::valuesOfEachTypeAreReadable_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    const QByteArray bytes("a\\\0\xff", 4);
    QTest::newRow("none") << QVariant() << QString();
    QTest::newRow("text") << QVariant(u"x\ty\n"_s) << uR"(x\ty\n)"_s;
    QTest::newRow("number") << QVariant(2.5) << u"2.5"_s;
    QTest::newRow("bool") << QVariant(false) << u"false"_s;
    QTest::newRow("map") << QVariant(QVariantMap{{u"a"_s, 1}, {u"b"_s, QVariantList{true, u"c"_s}}})
                         << uR"({"a":1,"b":[true,"c"]})"_s;
    QTest::newRow("list") << QVariant(QVariantList{1, QVariantMap{{u"a"_s, u"\n"_s}}})
                          << uR"([1,{"a":"\n"}])"_s;
    QTest::newRow("empty list") << QVariant(QVariantList()) << u"[]"_s;
    QTest::newRow("texts") << QVariant(QStringList{u"a"_s, u"b"_s}) << uR"(["a","b"])"_s;
    QTest::newRow("texts in a map")
            << QVariant(QVariantMap{{u"a"_s, QStringList{u"b"_s}}}) << uR"({"a":["b"]})"_s;
    QTest::newRow("bytes") << QVariant(bytes) << uR"(a\\\x00\xff)"_s;
    QTest::newRow("bytes in a map")
            << QVariant(QVariantMap{{u"a"_s, bytes}}) << uR"({"a":"a\\\\\\x00\\xff"})"_s;
    QTest::newRow("address") << QVariant(QUrl(u"http://x/"_s)) << u"http://x/"_s;
    QTest::newRow("size") << QVariant(QSize(1, 2)) << u"QSize(1, 2)"_s;
}

void tst_SettingsPage::valuesOfEachTypeAreReadable()
{
    QFETCH(QVariant, value);
    QTEST(shown(u"valueText"_s, value), "text");
}

void tst_SettingsPage::layersAreCalledAsInTheLibrary()
{
    const auto names = QMetaEnum::fromType<SettingsType>();
    for (int i = 0; i < names.keyCount(); ++i)
        QCOMPARE(shown(u"layerText"_s, names.value(i)), QLatin1String(names.key(i)));
}

void tst_SettingsPage::overriddenLayersAreNamed()
{
    auto &settings = m_box->settings();
    settings.setValue(u"Service"_s, u"audio"_s, u"de"_s, SettingsType::SelviDb);
    settings.setValue(u"Service"_s, u"audio"_s, u"fr"_s, SettingsType::CustomConfPersistent);
    openEngineeringPage();
    QVERIFY(waitFor([&] {
        return textsWith(u"Overridden (2): SelviDb, RavonaConfDefault"_s).size() == 1;
    }));
    QVERIFY(!textsWith(u"Overridden: RavonaConfDefault"_s).isEmpty());
}

// The block of QML in docs/qml.md.
void tst_SettingsPage::theGuideShowsWhatWorks()
{
    QFile guide(QStringLiteral(TAMSEL_TESTS_TREE "/docs/qml.md"));
    QVERIFY(guide.open(QIODevice::ReadOnly));
    const QByteArray text = guide.readAll();
    const qsizetype begin = text.indexOf("```qml\n") + 7;
    QQmlComponent component(&*m_engine);
    component.setData(text.mid(begin, text.indexOf("```\n", begin) - begin), QUrl(u"guide.qml"_s));
    const std::unique_ptr<QObject> slider(component.create());
    QVERIFY2(slider, qPrintable(component.errorString()));
    QCOMPARE(slider->property("enabled"), true);
    QTest::ignoreMessage(QtDebugMsg, "0.5 false");
    m_box->settings().setValue(u"player"_s, u"volume"_s, 0.5, SettingsType::Runtime);
    QCOMPARE(slider->property("value"), 0.5);

    auto *item = qobject_cast<QQuickItem *>(slider.get());
    item->setParentItem(m_window->contentItem());
    item->forceActiveFocus();
    QTest::keyClick(m_window, Qt::Key_Right);
    QTest::ignoreMessage(QtDebugMsg, "0.6 false");
    m_box->settings().clearStorage(SettingsType::Runtime);
    QCOMPARE(m_box->settings().value(u"player"_s, u"volume"_s), 0.6);
    QCOMPARE(slider->property("value"), 0.6);
}

QTEST_MAIN(tst_SettingsPage)
#include "tst_settingspage.moc"
