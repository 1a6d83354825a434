// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Measures what the QML module costs: instructions under Callgrind, and the heap of an object.
// qmlcosts.py runs it.

#include "callgrindseries.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/qml/qmlhost.h>

#include <QtCore/QCoreApplication>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>

#include <malloc.h>

#include <cstdio>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using tamsel::SettingsType;

namespace {

constexpr int warmUp = 10;

struct Host
{
    Host()
    {
        settings.initStorage(SettingsType::Runtime);
        tamsel::setQmlConfigManager(&settings);
        tamsel::qml::setQmlChangeNotifier(&notifier);
    }
    ~Host()
    {
        tamsel::qml::setQmlChangeNotifier(nullptr);
        tamsel::setQmlConfigManager(nullptr);
    }

    void write(int value)
    {
        settings.setValue(u"player"_s, u"volume"_s, value, SettingsType::Runtime);
    }

    QuietLogger logger;
    tamsel::ConfigurationManager settings{&logger};
    tamsel::host::ChangeNotifier notifier{&settings};
    QQmlEngine engine;
};

using Object = std::unique_ptr<QObject>;

Object create(QQmlComponent *component, const QVariantMap &properties = {})
{
    Object object(component->createWithInitialProperties(properties));
    if (!object)
        qFatal("%s", qPrintable(component->errorString()));
    return object;
}

void prepare(QQmlComponent *component, const QByteArray &text)
{
    component->setData(text, QUrl(u"costs.qml"_s));
}

// Counts an expression that reads a setting's value, and one that reads a plain object's property.
void countReads()
{
    Host host;
    QQmlComponent setting(&host.engine);
    prepare(&setting, "import Tamsel\nSetting { group: 'player'; key: 'volume'; defaultValue: 5 }");
    QQmlComponent plain(&host.engine);
    prepare(&plain, "import QtQml\nQtObject { property var value: 7 }");
    for (QQmlComponent *component : {&setting, &plain}) {
        const Object object = create(component);
        host.write(7);
        QQmlContext context(&host.engine);
        context.setContextProperty(u"object"_s, object.get());
        QQmlExpression expression(&context, nullptr, u"object.value"_s);
        countSeries(component == &setting ? "read" : "plain-read", warmUp, [&](int) {
            if (expression.evaluate() != 7)
                qFatal("read: wrong value");
        });
    }
}

// Counts a write in C++ to a setting with a binding. `others` other settings have objects: half of
// them in its group, half in groups of their own.
void countChange(int others)
{
    Host host;
    QQmlComponent bound(&host.engine);
    prepare(&bound, R"(import QtQml
import Tamsel
QtObject {
    property Setting setting: Setting { group: "player"; key: "volume"; defaultValue: 5 }
    property int shown: setting.value
})");
    const Object object = create(&bound);
    QQmlComponent other(&host.engine);
    prepare(&other, "import Tamsel\nSetting { defaultValue: 5 }");
    std::vector<Object> objects;
    for (int i = 0; i < others; ++i) {
        objects.push_back(create(&other,
                                 {{u"group"_s, i % 2 ? u"group%1"_s.arg(i) : u"player"_s},
                                  {u"key"_s, u"key%1"_s.arg(i)}}));
    }
    const QByteArray name = "change-" + QByteArray::number(others);
    countSeries(name, warmUp, [&](int value) {
        host.write(value);
        if (object->property("shown") != value)
            qFatal("change: not shown");
    });
}

// Prints the heap that an object of the component keeps.
void weigh(const char *name, Host *host, const QByteArray &text, const char *property)
{
    constexpr int count = 1000;
    QQmlComponent component(&host->engine);
    prepare(&component, text);
    std::vector<Object> objects;
    objects.reserve(2 * count);
    size_t before = 0;
    for (int i = 0; i < 2 * count; ++i) {
        if (i == count)
            before = mallinfo2().uordblks;
        objects.push_back(
                create(&component, {{QString::fromLatin1(property), u"key%1"_s.arg(i, 4)}}));
    }
    std::printf("heap %s %zu\n", name, (mallinfo2().uordblks - before) / count);
}

void weighObjects()
{
    Host host;
    weigh("setting", &host, "import Tamsel\nSetting { group: 'player'; defaultValue: 5 }", "key");
    weigh("plain", &host, "import QtQml\nQtObject { }", "objectName");
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    countReads();
    for (const int others : {1, 10, 100, 1000})
        countChange(others);
    weighObjects();
}
