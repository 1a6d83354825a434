// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "threads.h"

#include <tamsel/configurationmanager.h>
#include <tamsel/host/qtlogger.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QMutex>
#include <QtTest/QTest>

#include <optional>

using namespace Qt::StringLiterals;
using namespace tamsel::tests;
using tamsel::host::QtLogger;

namespace {

struct Message
{
    QtMsgType type;
    QByteArray category;
    QString text;
    Qt::HANDLE thread;
};

QMutex mutex;
QList<Message> messages; // guarded by mutex

void record(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const QMutexLocker locker(&mutex);
    messages.append({type, context.category, text, QThread::currentThreadId()});
}

QList<Message> take()
{
    const QMutexLocker locker(&mutex);
    return std::exchange(messages, {});
}

// "category type: text" for each message since the last call.
QStringList lines()
{
    static const QHash<QtMsgType, QString> names{{QtDebugMsg, u"debug"_s},
                                                 {QtInfoMsg, u"info"_s},
                                                 {QtWarningMsg, u"warning"_s},
                                                 {QtCriticalMsg, u"critical"_s}};
    QStringList result;
    for (const Message &message : take())
        result.append(u"%1 %2: %3"_s.arg(QString::fromUtf8(message.category),
                                         names.value(message.type), message.text));
    return result;
}

// Texts that could be taken for formats, escapes and the like.
const QStringList awkwardTexts{u"50 % of %1 and %s%n"_s,
                               u"\"quoted\" 'and' \\escaped\\n"_s,
                               u" spaces around  "_s,
                               u"two\nlines\n"_s,
                               u""_s,
                               u"Schl\u00fcssel \U0001F511"_s,
                               QString(QChar(0xd800)), // half of a surrogate pair
                               u"before\0after"_s,
                               QString(100'000, u'x')};

} // namespace

class tst_QtLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void eachOperationHasItsType();
    void textsAreVerbatim();
    void categoryHasAName();
    void rulesOfTheCategoryApply();
    void loggersOfOneCategoryShareRules();
    void runsOnTheThreadThatLogs();
    void logsWhatAManagerLogs();

private:
    QtMessageHandler m_previous = nullptr;
};

void tst_QtLogger::init()
{
    m_previous = qInstallMessageHandler(record);
}

void tst_QtLogger::cleanup()
{
    qInstallMessageHandler(m_previous);
    QLoggingCategory::setFilterRules({});
    take();
}

void tst_QtLogger::eachOperationHasItsType()
{
    QtLogger logger;
    logger.error(u"one"_s);
    logger.warning(u"two"_s);
    logger.info(u"three"_s);
    logger.debug(u"four"_s);
    QCOMPARE(lines(),
             QStringList({u"tamsel critical: one"_s, u"tamsel warning: two"_s,
                          u"tamsel info: three"_s, u"tamsel debug: four"_s}));
}

void tst_QtLogger::textsAreVerbatim()
{
    QtLogger logger;
    for (const QString &text : awkwardTexts) {
        logger.error(text);
        logger.warning(text);
        logger.info(text);
        logger.debug(text);
        const QList<Message> logged = take();
        QCOMPARE(logged.size(), 4);
        for (const Message &message : logged)
            QCOMPARE(message.text, text);
    }
}

void tst_QtLogger::categoryHasAName()
{
    std::optional<QtLogger> logger;
    {
        const QByteArray name = "box.settings";
        logger.emplace(name.constData());
    } // the logger has copied the name
    logger->info(u"text"_s);
    QCOMPARE(lines(), QStringList(u"box.settings info: text"_s));
}

void tst_QtLogger::rulesOfTheCategoryApply()
{
    QtLogger logger;
    QtLogger other("other");
    QLoggingCategory::setFilterRules(u"tamsel.debug=false\ntamsel.critical=false"_s);
    for (QtLogger *each : {&logger, &other}) {
        each->error(u"one"_s);
        each->warning(u"two"_s);
        each->info(u"three"_s);
        each->debug(u"four"_s);
    }
    QCOMPARE(lines(),
             QStringList({u"tamsel warning: two"_s, u"tamsel info: three"_s,
                          u"other critical: one"_s, u"other warning: two"_s, u"other info: three"_s,
                          u"other debug: four"_s}));
}

void tst_QtLogger::loggersOfOneCategoryShareRules()
{
    QtLogger first;
    QLoggingCategory::setFilterRules(u"tamsel.info=false"_s);
    QtLogger second;
    first.info(u"one"_s);
    second.info(u"two"_s);
    second.debug(u"three"_s);
    QCOMPARE(lines(), QStringList(u"tamsel debug: three"_s));
}

void tst_QtLogger::runsOnTheThreadThatLogs()
{
    constexpr int threads = 4;
    constexpr int each = 200;
    QtLogger logger;
    std::vector<Qt::HANDLE> ids(threads);
    runTogether(threads, [&](int i) {
        ids[static_cast<std::size_t>(i)] = QThread::currentThreadId();
        for (int n = 0; n < each; ++n)
            logger.info(u"%1 %2"_s.arg(i).arg(n));
    });
    std::vector<int> next(threads); // each thread's messages keep their order
    for (const Message &message : take()) {
        const int i = message.text.section(u' ', 0, 0).toInt();
        QCOMPARE(message.thread, ids[static_cast<std::size_t>(i)]);
        QCOMPARE(message.text, u"%1 %2"_s.arg(i).arg(next[static_cast<std::size_t>(i)]++));
    }
    QCOMPARE(next, std::vector<int>(threads, each));
}

void tst_QtLogger::logsWhatAManagerLogs()
{
    QtLogger logger;
    tamsel::ConfigurationManager settings(&logger);
    settings.initStorage(tamsel::SettingsType::Rdm);
    settings.initStorage(tamsel::SettingsType::Runtime);
    settings.setValue(u"ui"_s, u"lang"_s, u"%1"_s, tamsel::SettingsType::Runtime);
    settings.setValue(u"ui"_s, u"lang"_s, u"de"_s, tamsel::SettingsType::Rdm);
    settings.clearStorage(tamsel::SettingsType::SelviDb);
    QCOMPARE(
            lines(),
            QStringList(
                    {u"tamsel info: Storage: Rdm initialized"_s,
                     u"tamsel info: Storage: Runtime initialized"_s,
                     u"tamsel debug: Top value changed Runtime: ui/lang = '%1'"_s,
                     u"tamsel critical: The storage doesn't support writing!"_s,
                     u"tamsel warning: Unable to remove storage SelviDb. Storage does not exist"_s}));
}

QTEST_GUILESS_MAIN(tst_QtLogger)
#include "tst_qtlogger.moc"
