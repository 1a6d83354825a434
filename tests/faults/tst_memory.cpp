// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Memory runs out at every single allocation of every operation. Each attempt has its own process,
// because QSettings does not survive all of them.

#include "childprocess.h"
#include "failingallocations.h"
#include "faultrun.h"
#include "managerprivate.h"

#include "storage/dynamicmapstorage.h"
#include "storage/qtsettingsinistorage.h"
#include "storage/staticmapreader.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/ilogger.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <thread>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr int never = std::numeric_limits<int>::max();

bool isFullRun()
{
    return rounds(0, 1) != 0;
}

// The quick run has one layer of each kind.
bool isLeftOut(SettingsType type)
{
    return !isFullRun() && type != Runtime && type != Rdm && type != CustomConfPersistent;
}

// Counts its calls without allocating memory.
class Listener final : public ILogger, public IConfigurationChangeHandler
{
public:
    void error(const QString &) override { ++m_calls; }
    void warning(const QString &) override { ++m_calls; }
    void info(const QString &) override { ++m_calls; }
    void debug(const QString &) override { ++m_calls; }
    void onValueChanged(SettingsType, const QString &, const QString &, const QVariant &) override
    {
        ++m_calls;
    }

    int takeCalls() { return std::exchange(m_calls, 0); }

private:
    int m_calls = 0;
};

// A value whose copy allocates memory, yet small enough for QVariant to store inline.
class Costly
{
public:
    Costly() : Costly(0) { }
    explicit Costly(int number) : m_number(std::make_unique<int>(number)) { }
    Costly(const Costly &other) : Costly(other.number()) { }
    Costly &operator=(const Costly &) = delete;

    int number() const { return *m_number; }
    bool operator==(const Costly &other) const { return number() == other.number(); }

private:
    std::unique_ptr<int> m_number;
};

// The initial contents of a layer: four settings; text is the key of one and the value of two.
struct Contents
{
    explicit Contents(const QString &text)
        : map{{u"g"_s, QVariantMap{{u"k"_s, text}, {text, 1}}},
              {u"g-x"_s, QVariantMap{{u"a"_s, 2}}},
              {u"z"_s, QVariantHash{{u"k"_s, text}}}}, // converted on every read
          // In a file, g-x/a comes before g/k: the list of keys is not sorted.
          file(u"[g]\nk=%1\n%1=1\n\n[g-x]\na=2\n\n[z]\nk=%1\n"_s.arg(text).toUtf8())
    {
    }

    void save(const QString &path) const
    {
        if (!writeFile(path, file))
            qFatal("cannot write a file");
    }

    QVariantMap map;
    QByteArray file;
};

// A host with everything that the operations need, in its own folder.
class Host
{
public:
    explicit Host(const QString &folder)
        : m_folder(folder + u"/XXXXXX"_s),
          manager(std::make_unique<ConfigurationManager>(&listener))
    {
        if (!m_folder.isValid())
            qFatal("cannot create a folder");
        manager->setPersistentStoragePath(m_folder.path() + u'/');
        manager->setAssetsPrefix(m_folder.path() + u'/');
        manager->appendConfigurationHandler(&listener);
        manager->appendConfigurationHandler(&secondHandler);
        manager->appendConfigurationHandler(
                &thirdHandler); // the list is full: one more needs memory
    }

    ~Host()
    {
        layer.reset();
        manager.reset();
        // QSettings remembers files until it finds them empty.
        for (const auto type : fileLayers) {
            if (!QFile::remove(filePath(type)))
                QDir().rmdir(filePath(type));
            QSettings(filePath(type), QSettings::IniFormat).clear();
        }
    }

    QString filePath(SettingsType type = CustomConfPersistent) const
    {
        return m_folder.filePath(type == CustomConfPersistent ? u"custom.conf"_s
                                         : type == SelviDb    ? u"selvi.db"_s
                                                              : u"ravona.conf"_s);
    }

    void add(SettingsType type, const Contents &contents)
    {
        if (fileLayers.contains(type))
            contents.save(filePath(type));
        manager->initStorage(type, contents.map);
        const bool startsEmpty = !manager->contains(u"g"_s, u"k"_s, type);
        for (auto group = contents.map.cbegin(); startsEmpty && group != contents.map.cend();
             ++group) {
            const QVariantMap entries = group->toMap();
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
                manager->setValue(group.key(), entry.key(), entry.value(), type);
        }
    }

    // Everything that readers can see.
    QStringList state() const
    {
        QStringList lines{manager->persistentStoragePath()};
        for (const auto &storage : std::as_const(privateOf(*manager).storages))
            describe(*storage, &lines);
        if (layer)
            describe(*layer, &lines);
        lines.append(u"%1 handlers"_s.arg(privateOf(*manager).handlers.size()));
        return lines.replaceInStrings(m_folder.path(), QString());
    }

    bool hasLayersInOrder() const
    {
        const auto &storages = privateOf(*manager).storages;
        for (qsizetype i = 1; i < storages.size(); ++i) {
            if (priorityOf(storages.at(i - 1)->type()) >= priorityOf(storages.at(i)->type()))
                return false;
        }
        return true;
    }

    // Takes every lock, by reads and by writes.
    void useAll()
    {
        (void)manager->value(u"absent"_s, u"k"_s);
        for (const auto &storage : std::as_const(privateOf(*manager).storages)) {
            storage->setValue(u"g"_s, u"used"_s, u"yes"_s);
            storage->remove(u"g"_s, u"used"_s);
        }
        if (layer) {
            layer->setValue(u"g"_s, u"used"_s, u"yes"_s);
            layer->remove(u"g"_s, u"used"_s);
        }
    }

private:
    static void describe(const AbstractStorage &storage, QStringList *lines)
    {
        lines->append(nameOf(storage.type()));
        const KeyList keys = storage.keys();
        for (const auto &[group, key] : keys)
            lines->append(group + u'/' + key + u'=' + storage.value(group, key).toString());
    }

    QTemporaryDir m_folder;

public:
    Listener listener;
    Listener secondHandler;
    Listener thirdHandler;
    Listener fourthHandler;
    std::unique_ptr<ConfigurationManager> manager;
    std::unique_ptr<AbstractStorage> layer; // not registered with the manager
};

using Step = std::function<void(Host &)>;

// The outcome of an operation if nothing fails.
struct Success
{
    QStringList state;
    int calls = 0; // of the logger and of a handler
};

Success succeed(const QString &folder, const Step &prepare, const Step &operation)
{
    Host host(folder);
    prepare(host);
    host.listener.takeCalls();
    operation(host);
    return {host.state(), host.listener.takeCalls()};
}

// Makes the operation's allocation `number` fail, and checks the state that this leaves. Returns
// "threw" or "did without it" if it is right, "untouched" if there are fewer allocations.
const char *attempt(const QString &folder, const Step &prepare, const Step &operation, int number,
                    AllocationFault::Extent extent, const Success &success)
{
    Host host(folder);
    prepare(host);
    host.listener.takeCalls();
    const QStringList before = host.state();

    bool threw = false;
    int failures = 0;
    {
        const AllocationFault fault(number, extent);
        try {
            operation(host);
        } catch (const std::bad_alloc &) {
            threw = true;
        }
        failures = fault.failures();
    }
    const int calls = host.listener.takeCalls();
    const QStringList after = host.state();

    if (!host.hasLayersInOrder())
        return "the layers are not in order";
    if (threw && after != before && after != success.state)
        return "the operation is half done";
    if (!threw && (after != success.state || calls != success.calls))
        return "the operation is incomplete, and that is not notified";

    std::thread([&host] { host.useAll(); }).join(); // never returns if a lock is still held
    operation(host);
    if (host.state() != success.state)
        return "the operation cannot be repeated";
    return failures == 0 ? "untouched" : threw ? "threw" : "did without it";
}

// The results of making each allocation of an operation fail in turn.
struct Verdicts
{
    int attempts = 0;
    int deaths = 0;
    QByteArray fault; // the first one
};

Verdicts attemptAll(const QString &folder, const Step &prepare, const Step &operation,
                    AllocationFault::Extent extent)
{
    const Success success = succeed(folder, prepare, operation);
    // Makes the allocations that a process makes only once, so that they do not count as leaks.
    attempt(folder, prepare, operation, never, extent, success);

    Verdicts verdicts;
    for (int number = 1; number < 1000; ++number) {
        const ChildResult child = inChild([&]() -> QByteArray {
            const AllocationLedger ledger;
            const char *verdict = attempt(folder, prepare, operation, number, extent, success);
            return ledger.alive() == 0 ? verdict : "memory is leaked";
        });
        if (child.report == "untouched")
            return verdicts;
        ++verdicts.attempts;
        if (child.end == "signal 14")
            verdicts.fault = "a lock is held";
        else if (!child.lived)
            ++verdicts.deaths;
        else if (child.report != "threw" && child.report != "did without it")
            verdicts.fault = child.report;
        if (!verdicts.fault.isEmpty()) {
            verdicts.fault.append(", allocation ").append(QByteArray::number(number));
            return verdicts;
        }
    }
    verdicts.fault = "there is no end to it";
    return verdicts;
}

} // namespace

QT_BEGIN_NAMESPACE
Q_DECLARE_TYPEINFO(Costly, Q_RELOCATABLE_TYPE);
QT_END_NAMESPACE
Q_DECLARE_METATYPE(Costly)
Q_DECLARE_METATYPE(Step)
Q_DECLARE_METATYPE(AllocationFault::Extent)

class tst_Memory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void exhaustionIsThrownAndLeavesNothingHalfDone_data();
    void exhaustionIsThrownAndLeavesNothingHalfDone();
    void whatNeedsNoMemoryCannotRunOutOfIt_data();
    void whatNeedsNoMemoryCannotRunOutOfIt();
    void exhaustionWhileAFileIsWrittenLeavesItWhole_data();
    void exhaustionWhileAFileIsWrittenLeavesItWhole();

private:
    QTemporaryDir m_folder;
};

void tst_Memory::initTestCase()
{
    qputenv("TZ", "UTC"); // otherwise the C library copies the zone's name repeatedly
    QMetaType::registerConverter<Costly, QString>(
            [](const Costly &costly) { return QString::number(costly.number()); });
}

void tst_Memory::exhaustionIsThrownAndLeavesNothingHalfDone_data()
{
    QTest::addColumn<Step>("prepare");
    QTest::addColumn<Step>("operation");
    QTest::addColumn<Step>("qtAlone"); // if Qt dies of it: the calls of Qt that die as often

    static const Contents before(u"old"_s);
    static const Contents after(u"another"_s); // longer, so that QSettings notices the new file
    const auto addRow = [](const QByteArray &name, const Step &prepare, const Step &operation,
                           const Step &qtAlone = {}) {
        QTest::newRow(name.constData()) << prepare << operation << qtAlone;
    };
    const Step nothing = [](Host &) {};

    for (const auto type : storagePriority) {
        if (isLeftOut(type))
            continue;
        const QByteArray name = keyOf(type);
        const Step add = [type](Host &host) { host.add(type, before); };
        const Step init = [type](Host &host) { host.manager->initStorage(type, after.map); };
        const Step clear = [type](Host &host) { host.manager->clearStorage(type); };
        Step saveFile = nothing;
        Step openFile;
        if (fileLayers.contains(type)) {
            saveFile = [type](Host &host) { after.save(host.filePath(type)); };
            openFile = [type](Host &host) {
                const QSettings settings(host.filePath(type), QSettings::IniFormat);
            };
        }
        addRow(name + ": created", saveFile, init, openFile);
        addRow(
                name + ": replaced",
                [add, saveFile](Host &host) {
                    add(host);
                    saveFile(host);
                },
                init, openFile);
        addRow(name + ": cleared", add, clear);
        if (type != Runtime && type != SystemProperties) {
            addRow(name + ": asked for a value", add,
                   [](Host &host) { (void)host.manager->value(u"z"_s, u"k"_s); });
            addRow(name + ": asked whether it holds a key", add,
                   [type](Host &host) { (void)host.manager->contains(u"z"_s, u"k"_s, type); });
        }
    }

    for (const auto type : writableLayers) {
        if (isLeftOut(type))
            continue;
        const QByteArray name = keyOf(type);
        const Step add = [type](Host &host) { host.add(type, before); };
        const Step write = [type](Host &host) {
            host.manager->setValue(u"g"_s, u"k"_s, u"written"_s, type);
        };
        const Step remove = [type](Host &host) { host.manager->removeValue(u"g"_s, u"k"_s, type); };
        const auto lower = RavonaConfDefault;
        addRow(name + ": written", add, write);
        addRow(name + ": written to a new group", add, [type](Host &host) {
            host.manager->setValue(u"new"_s, u"k"_s, u"written"_s, type);
        });
        addRow(name + ": removed from", add, remove);
        if (type != lower) {
            const Step addAbove = [add](Host &host) {
                host.add(lower, after);
                add(host);
            };
            addRow(name + ": removed from above another", addAbove, remove);
            addRow(name + ": cleared above another", addAbove,
                   [type](Host &host) { host.manager->clearStorage(type); });
        }
    }

    addRow(
            "Runtime: written, a value that takes memory to copy",
            [](Host &host) {
                host.add(Runtime, before);
                host.manager->setValue(u"g"_s, u"k"_s, QVariant::fromValue(Costly(1)), Runtime);
            },
            [](Host &host) {
                const QVariant two = QVariant::fromValue(Costly(2)); // no part of it may stay
                host.manager->setValue(u"g"_s, u"k"_s, two, Runtime);
            });

    const auto custom = CustomConfPersistent;
    const Step directory = [](Host &host) {
        host.add(custom, before);
        QFile::remove(host.filePath());
        QDir().mkdir(host.filePath());
    };
    addRow(
            "CustomConfPersistent: written, an equal value",
            [](Host &host) { host.add(custom, before); },
            [](Host &host) { host.manager->setValue(u"g"_s, u"k"_s, u"old"_s, custom); });
    addRow("CustomConfPersistent: refusing a value", directory,
           [](Host &host) { host.manager->setValue(u"g"_s, u"k"_s, u"written"_s, custom); });
    addRow("CustomConfPersistent: refusing a removal", directory,
           [](Host &host) { host.manager->removeValue(u"g"_s, u"k"_s, custom); });

    addRow("manager: made", nothing,
           [](Host &host) { const ConfigurationManager manager(&host.listener); });
    addRow("manager: a handler more", nothing,
           [](Host &host) { host.manager->appendConfigurationHandler(&host.fourthHandler); });
    addRow("manager: path of the start-up screen", nothing,
           [](Host &host) { (void)host.manager->startupScreenDirPath(); });
    addRow("manager: no such layer", nothing, [](Host &host) { host.manager->clearStorage(Rdm); });

    const Step list = [](Host &host) { (void)host.layer->keys(); };
    addRow(
            "map in memory: listed",
            [](Host &host) {
                host.layer = std::make_unique<DynamicMapStorage>(Runtime, &host.listener,
                                                                 &host.listener);
                host.layer->setValue(u"g"_s, u"k"_s, 1);
            },
            list);
    addRow(
            "fixed map: listed",
            [](Host &host) {
                host.layer = std::make_unique<StaticMapReader>(Rdm, &host.listener, &host.listener,
                                                               before.map);
            },
            list);
    addRow(
            "file: listed",
            [custom](Host &host) {
                before.save(host.filePath());
                host.layer = std::make_unique<QtSettingsIniStorage>(
                        custom, &host.listener, &host.listener, host.filePath());
            },
            list);
}

void tst_Memory::exhaustionIsThrownAndLeavesNothingHalfDone()
{
    QFETCH(const Step, prepare);
    QFETCH(const Step, operation);
    QFETCH(const Step, qtAlone);

    for (const auto extent : {AllocationFault::AllFrom, AllocationFault::OnlyOne}) {
        const Verdicts verdicts = attemptAll(m_folder.path(), prepare, operation, extent);
        QCOMPARE(verdicts.fault, QByteArray());
        QVERIFY(verdicts.attempts > 0);
        const Verdicts ofQt
                = qtAlone ? attemptAll(m_folder.path(), prepare, qtAlone, extent) : Verdicts();
        QCOMPARE(verdicts.deaths, ofQt.deaths);
        if (!isFullRun())
            break;
    }
}

void tst_Memory::whatNeedsNoMemoryCannotRunOutOfIt_data()
{
    QTest::addColumn<Step>("operation");

    static const QString group = u"g"_s;
    static const QString key = u"k"_s;
    static const QVariant held = u"text"_s;
    QTest::newRow("reading from a map in memory") << Step([](Host &host) {
        (void)host.manager->value(group, key);
        (void)host.manager->value(group, u"absent"_s, held);
    });
    QTest::newRow("reading from a fixed map") << Step([](Host &host) {
        static const QString onlyInRdm = u"g-x"_s;
        static const QString itsKey = u"a"_s;
        QCOMPARE(host.manager->value(onlyInRdm, itsKey).metaType(), QMetaType::fromType<int>());
    });
    QTest::newRow("asking a layer") << Step([](Host &host) {
        (void)host.manager->contains(group, key, Rdm);
        (void)host.manager->storageAvailable(Rdm);
        (void)host.manager->contains(group, key, SelviDb);
    });
    QTest::newRow("writing an equal value")
            << Step([](Host &host) { host.manager->setValue(group, key, held, Runtime); });
    QTest::newRow("writing to a fixed map") << Step([](Host &host) {
        host.manager->setValue(group, key, held, Rdm);
        host.manager->removeValue(group, key, Rdm);
    });
    QTest::newRow("writing to no layer") << Step([](Host &host) {
        host.manager->setValue(group, key, held, SelviDb);
        host.manager->removeValue(group, key, SelviDb);
    });
    QTest::newRow("removing a handler") << Step(
            [](Host &host) { host.manager->removeConfigurationHandler(&host.secondHandler); });
}

void tst_Memory::whatNeedsNoMemoryCannotRunOutOfIt()
{
    QFETCH(const Step, operation);

    Host host(m_folder.path());
    host.manager->initStorage(Runtime);
    host.manager->setValue(u"g"_s, u"k"_s, u"text"_s, Runtime);
    host.manager->initStorage(Rdm, Contents(u"text"_s).map);

    int failures = -1;
    {
        const AllocationFault fault(1, AllocationFault::AllFrom);
        operation(host);
        failures = fault.failures();
    }
    QCOMPARE(failures, 0);
}

void tst_Memory::exhaustionWhileAFileIsWrittenLeavesItWhole_data()
{
    QTest::addColumn<bool>("byEventLoop");
    QTest::addColumn<AllocationFault::Extent>("extent");

    QTest::newRow("by the event loop, all fail from one on") << true << AllocationFault::AllFrom;
    QTest::newRow("as the layer dies, all fail from one on") << false << AllocationFault::AllFrom;
    if (!isFullRun())
        return;
    QTest::newRow("by the event loop, one allocation fails") << true << AllocationFault::OnlyOne;
    QTest::newRow("as the layer dies, one allocation fails") << false << AllocationFault::OnlyOne;
}

// QSettings may lose the write, or the process, and leave its lock file. The file is never torn.
void tst_Memory::exhaustionWhileAFileIsWrittenLeavesItWhole()
{
    QFETCH(const bool, byEventLoop);
    QFETCH(const AllocationFault::Extent, extent);

    const Contents before(u"old"_s);
    QByteArray after = before.file;
    after.replace("k=old\nold", "k=written\nold");

    QMap<QByteArray, int> seen; // how often each content of the file was seen
    bool isComplete = false;
    for (int number = 1; number < 1000; ++number) {
        const QTemporaryDir folder(m_folder.filePath(u"XXXXXX"_s));
        const QString path = folder.filePath(u"custom.conf"_s);
        before.save(path);
        const ChildResult child = inChild([&]() -> QByteArray {
            Listener listener;
            // Never destroyed: it would wait for a lock file that was left.
            auto *manager = new ConfigurationManager(&listener);
            manager->setPersistentStoragePath(folder.path() + u'/');
            manager->initStorage(CustomConfPersistent);
            manager->setValue(u"g"_s, u"k"_s, u"written"_s, CustomConfPersistent);
            int failures = 0;
            {
                const AllocationFault fault(number, extent);
                try {
                    if (byEventLoop)
                        QCoreApplication::processEvents();
                    else
                        manager->clearStorage(CustomConfPersistent);
                } catch (const std::bad_alloc &) {
                }
                failures = fault.failures();
            }
            return failures == 0 ? "untouched" : "";
        });
        QVERIFY(child.end != "signal 14");
        ++seen[readFile(path)];
        if (child.report == "untouched") {
            isComplete = true;
            break;
        }
    }
    QVERIFY(isComplete);
    QCOMPARE(seen.keys(), QByteArrayList({before.file, after}));
    QVERIFY(seen.value(before.file) > 1);
}

QTEST_GUILESS_MAIN(tst_Memory)
#include "tst_memory.moc"
