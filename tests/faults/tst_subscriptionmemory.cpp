// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Memory runs out while settings are subscribed to, changed and delivered.

#include "failingallocations.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/changenotifier.h>
#include <tamsel/host/settingscatalogue.h>
#include <tamsel/testing/recordinglogger.h>

#include <QtCore/QMetaObject>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <memory>
#include <new>

using namespace tamsel;
using namespace tamsel::tests;
using namespace Qt::StringLiterals;

namespace {

constexpr int mostAllocations = 200; // of one operation, far more than it makes

struct Host
{
    Host() { settings.initStorage(SettingsType::Runtime); }

    // Returns false if memory ran out.
    bool write(int value)
    {
        try {
            settings.setValue(u"ui"_s, u"size"_s, value, SettingsType::Runtime);
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

    testing::RecordingLogger logger;
    ConfigurationManager settings{&logger};
    host::SettingsCatalogue catalogue{&settings, 2};
    host::ChangeNotifier notifier{&settings};
};

} // namespace

// For the leak sanitizer. QObject::connect() leaks the function object if a later allocation in it
// fails.
extern "C" Q_DECL_EXPORT const char *__lsan_default_suppressions();
const char *__lsan_default_suppressions()
{
    return "leak:SubscriptionRecord::start";
}

class tst_SubscriptionMemory : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aChangeAfterAFailureIsDeliveredOnAnotherThread();
    void aContextMayDieWithoutMemory();
    void aFailedSubscriptionLeavesTheOthers();
    void theLastChangesAreRightAfterAFailure();
};

void tst_SubscriptionMemory::aChangeAfterAFailureIsDeliveredOnAnotherThread()
{
    int failures = 0;
    for (int number = 1; number <= mostAllocations; ++number) {
        Host host;
        QThread thread; // runs when the events are posted
        QObject context;
        int last = 0;
        host.notifier.subscribe(u"ui"_s, u"size"_s, &context,
                                [&](const host::Change &change) { last = change.value.toInt(); });
        context.moveToThread(&thread);
        {
            const AllocationFault fault(number, AllocationFault::OnlyOne);
            if (host.write(1) && fault.failures() == 0)
                break;
        }
        ++failures;
        QVERIFY(host.write(2));
        QMetaObject::invokeMethod(
                &context, [&thread] { thread.quit(); }, Qt::QueuedConnection);
        thread.start();
        QVERIFY(thread.wait());
        QCOMPARE(last, 2);
    }
    QVERIFY2(failures > 3 && failures < mostAllocations, qPrintable(QString::number(failures)));
}

void tst_SubscriptionMemory::aContextMayDieWithoutMemory()
{
    Host host;
    QObject other;
    int calls = 0;
    const auto count = [&calls](const host::Change &) { ++calls; };
    auto context = std::make_unique<QObject>();
    host.notifier.subscribe(u"ui"_s, u"size"_s, context.get(), count);
    host.notifier.subscribe(u"ui"_s, u"size"_s, &other, count);
    {
        const AllocationFault fault(1, AllocationFault::AllFrom);
        context.reset();
        QVERIFY(fault.failures() > 0);
    }
    QVERIFY(host.write(1));
    QCOMPARE(calls, 1);
}

void tst_SubscriptionMemory::aFailedSubscriptionLeavesTheOthers()
{
    int failures = 0;
    for (int number = 1; number <= mostAllocations; ++number) {
        Host host;
        QObject context;
        int calls = 0;
        const auto count = [&calls](const host::Change &) { ++calls; };
        host.notifier.subscribeAll(&context, count);
        bool isSubscribed = false;
        try {
            const AllocationFault fault(number, AllocationFault::OnlyOne);
            host.notifier.subscribe(u"ui"_s, u"size"_s, &context, count);
            isSubscribed = true;
        } catch (const std::bad_alloc &) {
            ++failures;
        }
        QVERIFY(host.write(1));
        QCOMPARE(calls, isSubscribed ? 2 : 1);
        if (isSubscribed)
            break;
    }
    QVERIFY2(failures > 3 && failures < mostAllocations, qPrintable(QString::number(failures)));
}

void tst_SubscriptionMemory::theLastChangesAreRightAfterAFailure()
{
    int failures = 0;
    for (int number = 1; number <= mostAllocations; ++number) {
        Host host;
        {
            const AllocationFault fault(number, AllocationFault::OnlyOne);
            if (host.write(1) && fault.failures() == 0)
                break;
        }
        ++failures;
        QVariantList values;
        for (const int value : {2, 3, 4}) {
            QVERIFY(host.write(value));
            values.clear();
            const QList<host::SettingChange> changes = host.catalogue.lastChanges();
            for (const host::SettingChange &change : changes)
                values.append(change.value);
            QVERIFY(values.endsWith(value));
        }
        QCOMPARE(values, QVariantList({3, 4})); // the catalogue keeps only two
    }
    QVERIFY2(failures > 3 && failures < mostAllocations, qPrintable(QString::number(failures)));
}

QTEST_GUILESS_MAIN(tst_SubscriptionMemory)
#include "tst_subscriptionmemory.moc"
