// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "files.h"
#include "transcripts.h"

#include <QtTest/QTest>

using namespace Qt::StringLiterals;
using tamsel::tests::TestShell;

class tst_Settop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void transcripts_data();
    void transcripts();
    void theReadmeShowsWhatIsPrinted();
};

void tst_Settop::transcripts_data()
{
    tamsel::tests::addTranscriptRows(QStringLiteral(SETTOP_TRANSCRIPTS));
#ifdef TAMSEL_INSPECT
    tamsel::tests::addTranscriptRows(QStringLiteral(SETTOP_SNAPSHOTS));
#endif
}

void tst_Settop::transcripts()
{
    QFETCH(const QString, transcript);

    TestShell shell(u"settop"_s, QByteArrayLiteral(SETTOP));
    shell.environment.insert(u"ASSETS"_s, QStringLiteral(SETTOP_ASSETS_DIR));
#ifdef TAMSEL_INSPECT
    shell.environment.insert(u"INSPECT"_s, QStringLiteral(TAMSEL_INSPECT)); // with its quotes
#endif
    QVERIFY(shell.check(transcript) > 0);
}

void tst_Settop::theReadmeShowsWhatIsPrinted()
{
    const QString readme
            = QString::fromUtf8(tamsel::tests::readFile(QStringLiteral(SETTOP_README)));
    QCOMPARE(TestShell(u"settop"_s, QByteArrayLiteral(SETTOP)).check(readme), 3);
}

QTEST_GUILESS_MAIN(tst_Settop)
#include "tst_settop.moc"
