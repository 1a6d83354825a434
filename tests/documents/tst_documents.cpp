// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// The code blocks of README.md and the guides, taken from the documents by extract.awk: what is said
// to compile compiles, what is said to be printed is printed, and no block stands there unchecked.

#include "files.h"
#include "surroundings.h"

#include <QtTest/QTest>

#include <array>

using namespace tamsel::tests;

namespace {

// The command line of the process that the blocks see.
class CommandLine
{
public:
    CommandLine() { set({}); }

    void set(const QStringList &arguments)
    {
        m_texts = {"app"};
        for (const QString &argument : arguments)
            m_texts.append(argument.toLocal8Bit());
        argc = 0;
        for (QByteArray &text : m_texts)
            argv.at(static_cast<std::size_t>(argc++)) = text.data();
        argv.at(static_cast<std::size_t>(argc)) = nullptr;
    }

    // QCoreApplication reads both again whenever it is asked.
    int argc = 0;
    std::array<char *, 32> argv{};

private:
    QList<QByteArray> m_texts;
};

CommandLine &commandLine()
{
    static CommandLine theOnly;
    return theOnly;
}

QByteArray rewritten(const QByteArray &ini, QSettings::Status *status)
{
    const QTemporaryDir directory;
    const QString original = directory.filePath(u"original"_s);
    if (!writeFile(original, ini))
        return "cannot write a file";
    const QSettings read(original, QSettings::IniFormat);
    *status = read.status();
    const QString copy = directory.filePath(u"copy"_s);
    {
        QSettings write(copy, QSettings::IniFormat);
        const QStringList keys = read.allKeys();
        for (const QString &key : keys)
            write.setValue(key, read.value(key));
    }
    return readFile(copy);
}

} // namespace

class tst_Documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noBlockIsLeftUnchecked();
    void blocksLeftToOtherTestsNameOne();
    void blocksDoWhatTheDocumentsSay_data();
    void blocksDoWhatTheDocumentsSay();
    void iniBlocksAreWhatQSettingsWrites_data();
    void iniBlocksAreWhatQSettingsWrites();
    void cleanupTestCase();
};

void tst_Documents::noBlockIsLeftUnchecked()
{
    QStringList unchecked;
    for (const TextBlock &block : uncheckedBlocks)
        unchecked.append(QString::fromUtf8(block.where) + u": "_s + QString::fromUtf8(block.text));
    QCOMPARE(unchecked.join(u'\n'), QString());
    QVERIFY(!runBlocks.isEmpty());
}

void tst_Documents::blocksLeftToOtherTestsNameOne()
{
    QHash<QString, QByteArray> sources;
    QDirIterator files(QStringLiteral(TESTS_DIR), {u"tst_*.cpp"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        sources.insert(QFileInfo(path).completeBaseName(), readFile(path));
    }
    for (const TextBlock &block : blocksOfOtherTests) {
        // The test names the documents that it reads.
        const QByteArray where(block.where);
        const QByteArray document = '/' + where.left(where.lastIndexOf(':')) + '"';
        QVERIFY2(sources.value(QLatin1StringView(block.text)).contains(document), block.where);
    }
}

void tst_Documents::blocksDoWhatTheDocumentsSay_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < runBlocks.size(); ++i)
        QTest::newRow(runBlocks.at(i).where) << i;
}

void tst_Documents::blocksDoWhatTheDocumentsSay()
{
    QFETCH(const int, index);
    const RunBlock &block = runBlocks.at(index);
    commandLine().set(QString::fromUtf8(block.arguments).split(u' ', Qt::SkipEmptyParts));

    const QStringList failures = failuresOf(block);
    for (const QString &failure : failures)
        qWarning("%s", qUtf8Printable(failure)); // what QVERIFY2() takes is cut at 1024 characters
    QVERIFY(failures.isEmpty());
}

void tst_Documents::iniBlocksAreWhatQSettingsWrites_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const TextBlock &block : iniBlocks)
        QTest::newRow(block.where) << QByteArray(block.text);
}

void tst_Documents::iniBlocksAreWhatQSettingsWrites()
{
    QFETCH(const QByteArray, text);
    QSettings::Status status = QSettings::AccessError;
    QCOMPARE(rewritten(text, &status), text);
    QCOMPARE(status, QSettings::NoError);
}

void tst_Documents::cleanupTestCase()
{
    qInfo("%s", countOfBlocks);
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(commandLine().argc, commandLine().argv.data());
    tst_Documents test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_documents.moc"
