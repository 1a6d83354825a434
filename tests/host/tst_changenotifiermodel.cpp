// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Random operations on a manager. After each one, the last value that each subscriber got is
// compared with the value that a reader gets. Runs one sequence for twenty of
// TAMSEL_MODEL_SEQUENCES.

#include "testhost.h"

#include <tamsel/host/changenotifier.h>
#include <tamsel/host/origin.h>

#include <QtCore/QHash>
#include <QtCore/QStringBuilder>
#include <QtTest/QTest>

#include <rapidcheck.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace tamsel;
using namespace tamsel::host;
using namespace tamsel::tests;

namespace {

const QStringList groups{u"a"_s, u"b"_s};
const QStringList keys{u"x"_s, u"y"_s};
// Values of several types. None equals one of another type: a layer would not write that.
const QVariantList values{2,
                          3,
                          u"text"_s,
                          true,
                          0.5,
                          QStringList({u"p"_s, u"q"_s}),
                          QVariant::fromValue(nullptr)}; // null in JSON
// Texts only: a file that is read again has texts, which would equal what it had before.
const QVariantList fileValues{u"one"_s, u"two"_s};

// The last change that one subscriber of a setting got.
struct Subscriber
{
    QString group;
    QString key;
    std::unique_ptr<QObject> context = std::make_unique<QObject>();
    Subscription subscription;
    QVariant value;
    std::optional<SettingsType> origin; // as of the last call
    int calls = 0;
};

bool areSame(const QVariant &left, const QVariant &right)
{
    return left.metaType() == right.metaType() && left == right;
}

// A manager whose layers and subscribers come and go. Operations are made from the numbers that
// `pick` returns, which are below its argument.
class Run
{
public:
    Run()
    {
        for (const SettingsType type : {SettingsType::Rdm, SettingsType::Runtime})
            host.prepare(type);
        host.manager.removeConfigurationHandler(&host.handler);
        notifier.subscribeAll(&context, [this](const Change &change) {
            seen.insert({change.group, change.key}, {change.value, change.origin});
        });
    }

    void subscribe(int group, int key)
    {
        auto subscriber = std::make_unique<Subscriber>();
        subscriber->group = groups.at(group);
        subscriber->key = keys.at(key);
        subscriber->subscription = notifier.subscribe(
                subscriber->group, subscriber->key, subscriber->context.get(),
                [to = subscriber.get()](const Change &change) {
                    RC_ASSERT(to->calls == 0 || !areSame(to->value, change.value));
                    to->value = change.value;
                    to->origin = change.origin;
                    ++to->calls;
                });
        subscriber->value = host.manager.value(subscriber->group, subscriber->key);
        subscribers.push_back(std::move(subscriber));
    }

    template <typename Pick> QString apply(const Pick &pick)
    {
        const SettingsType type = storagePriority.at(pick(8));
        const QString group = groups.at(pick(2));
        const QString key = keys.at(pick(2));
        const QVariantList &all = fileLayers.contains(type) ? fileValues : values;
        const QVariant value = all.at(pick(static_cast<int>(all.size())));
        const QString text = u"%1 %2/%3 %4"_s.arg(nameOf(type), group, key, tests::describe(value));
        switch (pick(10)) {
        case 0:
            host.manager.initStorage(type, {{group, QVariantMap{{key, value}}}});
            return "init "_L1 + text;
        case 1:
            host.manager.initStorage(type, {{group, QVariantMap{{u"x"_s, value}, {u"y"_s, 7}}}});
            return "init with two "_L1 + text;
        case 2:
            host.manager.clearStorage(type);
            return "clear "_L1 + text;
        case 3:
            subscribe(pick(2), pick(2));
            return u"subscribe"_s;
        case 4:
            if (!subscribers.empty()) {
                const auto index
                        = static_cast<std::size_t>(pick(static_cast<int>(subscribers.size())));
                if (pick(2))
                    subscribers.at(index)->subscription.drop();
                subscribers.erase(subscribers.begin() + static_cast<std::ptrdiff_t>(index));
            }
            return u"drop"_s;
        case 5:
        case 6:
            host.manager.removeValue(group, key, type);
            return "remove "_L1 + text;
        default:
            host.manager.setValue(group, key, value, type);
            return "set "_L1 + text;
        }
    }

    // An error message, or an empty text.
    QString difference() const
    {
        for (const auto &subscriber : subscribers) {
            const QVariant value = host.manager.value(subscriber->group, subscriber->key);
            if (!areSame(subscriber->value, value))
                return u"%1/%2 is %3, the subscriber has %4"_s.arg(
                        subscriber->group, subscriber->key, tests::describe(value),
                        tests::describe(subscriber->value));
        }
        for (auto entry = seen.cbegin(); entry != seen.cend(); ++entry) {
            const auto &[group, key] = entry.key();
            if (!areSame(entry->first, host.manager.value(group, key))
                || entry->second != originOf(host.manager, group, key))
                return u"%1/%2 is not what the subscriber of everything has"_s.arg(group, key);
        }
        return {};
    }

    TestHost host;
    ChangeNotifier notifier{&host.manager};
    std::vector<std::unique_ptr<Subscriber>> subscribers;
    QHash<std::pair<QString, QString>, std::pair<QVariant, std::optional<SettingsType>>> seen;
    QObject context;
};

} // namespace

class tst_ChangeNotifierModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lastValueIsTheReaders();
};

void tst_ChangeNotifierModel::lastValueIsTheReaders()
{
    bool ok = false;
    const int asked = qEnvironmentVariableIntValue("TAMSEL_MODEL_SEQUENCES", &ok);
    // RC_PARAMS from the environment comes last and takes precedence.
    const QByteArray parameters = "max_success=" + QByteArray::number(ok ? asked / 20 : 100) + ' '
            + qgetenv("RC_PARAMS");
    qputenv("RC_PARAMS", parameters);
    QVERIFY(rc::check("subscribers have what a reader gets", [] {
        const auto numbers
                = *rc::gen::container<std::vector<quint32>>(400, rc::gen::arbitrary<quint32>());
        std::size_t next = 0;
        const auto pick = [&](int below) {
            return static_cast<int>(numbers.at(next++ % numbers.size()) % quint32(below));
        };
        Run run;
        run.subscribe(0, 0);
        QStringList log;
        while (next < numbers.size()) {
            log.append(run.apply(pick));
            const QString difference = run.difference();
            if (!difference.isEmpty())
                RC_FAIL(QString(log.join(u'\n') % u'\n' % difference).toStdString());
        }
    }));
}

QTEST_GUILESS_MAIN(tst_ChangeNotifierModel)
#include "tst_changenotifiermodel.moc"
