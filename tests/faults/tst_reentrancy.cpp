// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Handlers randomly do everything that a handler may do. That notifies handlers again, and so on.

#include "faultrun.h"
#include "testhost.h"
#include "threads.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include <unistd.h>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr int maxDepth = 4;
constexpr int maxNotifications = 500; // by one change; no handler reacts after that

// A manager whose handlers meddle with it.
class Play
{
public:
    explicit Play(quint32 seed);

    // One change from outside and its consequences.
    void change();
    // Whether the uppermost layer that holds a key is its origin, for every key.
    bool answersFromTheTop() const;
    int deepest() const { return m_deepest; }

private:
    class Meddler final : public IConfigurationChangeHandler
    {
    public:
        explicit Meddler(Play *play) : m_play(play) { }

        void onValueChanged(SettingsType, const QString &, const QString &,
                            const QVariant &) override
        {
            m_play->meddle(); // may delete this handler
        }

    private:
        Play *const m_play;
    };

    void meddle();
    void act();

    SettingsType anyLayer() { return storagePriority.at(m_random.bounded(8)); }
    QString anyKey() { return keys.at(m_random.bounded(keys.size())); }
    QString anyValue(SettingsType type)
    {
        return nameOf(type) + u"'s %1"_s.arg(m_random.bounded(3));
    }

    static inline const QStringList keys{u"a"_s, u"b"_s};

    QRandomGenerator m_random;
    TestHost m_host;
    std::array<std::unique_ptr<Meddler>, 4> m_meddlers;
    int m_depth = 0;
    int m_deepest = 0;
    int m_notifications = 0;
};

Play::Play(quint32 seed) : m_random(seed)
{
    for (const SettingsType type : storagePriority)
        m_host.manager.initStorage(type);
    m_host.manager.removeConfigurationHandler(&m_host.handler);
    for (auto &meddler : m_meddlers) {
        meddler = std::make_unique<Meddler>(this);
        m_host.manager.appendConfigurationHandler(meddler.get());
    }
}

void Play::change()
{
    m_notifications = 0;
    act();
    m_host.journal.take();
}

void Play::meddle()
{
    if (m_depth == maxDepth || ++m_notifications > maxNotifications)
        return;
    m_deepest = qMax(m_deepest, ++m_depth);
    act();
    --m_depth;
}

void Play::act()
{
    ConfigurationManager &manager = m_host.manager;
    const SettingsType type = anyLayer();
    const QString key = anyKey();
    auto &meddler = m_meddlers.at(m_random.bounded(4U));
    switch (m_random.bounded(16)) {
    default:
        manager.setValue(u"g"_s, key, anyValue(type), type);
        break;
    case 0:
    case 1:
    case 2:
        manager.removeValue(u"g"_s, key, type);
        break;
    case 3:
        (void)manager.value(u"g"_s, key);
        (void)manager.contains(u"g"_s, key);
        (void)manager.storageAvailable(type);
        break;
    case 4:
        manager.clearStorage(type);
        break;
    case 5:
        manager.clearStorage(type);
        Q_FALLTHROUGH();
    case 6:
        manager.initStorage(type,
                            groupMap(u"g"_s, {{key, anyValue(type)}, {anyKey(), anyValue(type)}}));
        break;
    case 7:
        manager.removeConfigurationHandler(meddler.get());
        meddler = std::make_unique<Meddler>(this);
        break;
    case 8:
    case 9:
        manager.appendConfigurationHandler(meddler.get());
        break;
    }
}

bool Play::answersFromTheTop() const
{
    for (const QString &key : keys) {
        const QString value = m_host.manager.value(u"g"_s, key, u"nobody's"_s).toString();
        QString owner = u"nobody"_s;
        for (const SettingsType type : storagePriority) {
            if (m_host.manager.contains(u"g"_s, key, type)) {
                owner = nameOf(type);
                break;
            }
        }
        if (value.section(u'\'', 0, 0) != owner)
            return false;
    }
    return true;
}

} // namespace

class tst_Reentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void handlersMayDoAnything();
    void handlersOnSeveralThreadsMayComeBack();
};

void tst_Reentrancy::init()
{
    alarm(static_cast<unsigned>(rounds(120, 600))); // kills a test that deadlocks
}

void tst_Reentrancy::cleanup()
{
    alarm(0);
}

void tst_Reentrancy::handlersMayDoAnything()
{
    QRandomGenerator seeds(seed());
    int deepest = 0;
    for (int i = rounds(20, 300); i > 0; --i) {
        Play play(seeds.generate());
        for (int change = 0; change < 100; ++change) {
            play.change();
            QVERIFY(play.answersFromTheTop());
        }
        deepest = qMax(deepest, play.deepest());
    }
    QCOMPARE(deepest, maxDepth); // otherwise little was tested
}

void tst_Reentrancy::handlersOnSeveralThreadsMayComeBack()
{
    static constexpr std::array types{Runtime, SystemProperties, CustomConfPersistent};
    const int writes = rounds(100, 3000);

    TestHost host;
    for (const SettingsType type : types)
        host.manager.initStorage(type);
    std::atomic<int> notifications = 0;
    std::atomic<int> wrong = 0;
    host.handler.reaction = [&](SettingsType type, const QString &group, const QString &key,
                                const QVariant &value) {
        ++notifications;
        if (host.manager.value(group, key) != value)
            ++wrong;
        if (!key.endsWith(u"'s echo"_s))
            host.manager.setValue(group, key + u"'s echo"_s, value, type);
    };

    runTogether(int(types.size()), [&host, writes](int i) {
        const SettingsType type = types.at(std::size_t(i));
        for (int number = 0; number < writes; ++number)
            host.manager.setValue(u"g"_s, nameOf(type), number, type);
    });

    QCOMPARE(notifications, 2 * writes * int(types.size()));
    QCOMPARE(wrong, 0);
}

QTEST_GUILESS_MAIN(tst_Reentrancy)
#include "tst_reentrancy.moc"
