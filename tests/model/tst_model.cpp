// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Random sequences of all operations of the manager, compared call by call with the model.
//
// Sequences and their length can be set with TAMSEL_MODEL_SEQUENCES and TAMSEL_MODEL_STEPS, for slow
// machines or long runs; everything else with RapidCheck's own RC_PARAMS, which wins. A failure is
// seen again with RC_PARAMS="seed=…", the number that is printed at the start of each run.

#include "driver.h"
#include "model.h"
#include "operation.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <rapidcheck.h>

#include <array>
#include <cstdint>
#include <ostream>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// Reduces one argument of an operation: fewer entries, or an element earlier in its alphabet.
rc::Seq<Operation> simplerOperations(const Operation &operation)
{
    const auto with = [operation](auto Operation::*field) {
        return rc::seq::map(rc::shrink::towards(operation.*field, std::size_t(0)),
                            [operation, field](std::size_t index) {
                                Operation simpler = operation;
                                simpler.*field = index;
                                return simpler;
                            });
    };
    const auto withEntries = [operation](rc::Seq<std::vector<Entry>> shrinks) {
        return rc::seq::map(std::move(shrinks), [operation](std::vector<Entry> entries) {
            Operation simpler = operation;
            simpler.entries = std::move(entries);
            return simpler;
        });
    };
    const auto simplerEntries = [](const Entry &entry) {
        const auto withField = [entry](auto Entry::*field) {
            return rc::seq::map(rc::shrink::towards(entry.*field, std::size_t(0)),
                                [entry, field](std::size_t index) {
                                    Entry simpler = entry;
                                    simpler.*field = index;
                                    return simpler;
                                });
        };
        return rc::seq::concat(withField(&Entry::key), withField(&Entry::value));
    };
    return rc::seq::concat(withEntries(rc::shrink::removeChunks(operation.entries)),
                           withEntries(rc::shrink::eachElement(operation.entries, simplerEntries)),
                           with(&Operation::key), with(&Operation::value), with(&Operation::layer),
                           with(&Operation::file));
}

rc::Seq<Sequence> simplerSequences(const Sequence &sequence)
{
    return rc::seq::concat(rc::shrink::removeChunks(sequence),
                           rc::shrink::eachElement(sequence, simplerOperations));
}

rc::Gen<Sequence> sequences(int steps)
{
    return [steps](const rc::Random &seed, int) {
        rc::Random random = seed;
        Sequence sequence;
        for (int i = 0; i < steps; ++i) {
            std::array<unsigned char, 32> bytes{}; // as many as an operation can take
            for (std::size_t at = 0; at < bytes.size(); at += sizeof(rc::Random::Number)) {
                const rc::Random::Number number = random.next();
                for (std::size_t byte = 0; byte < sizeof number; ++byte)
                    bytes[at + byte] = static_cast<unsigned char>(number >> (8 * byte));
            }
            sequence.push_back(OperationReader(bytes.data(), bytes.size()).next());
        }
        return rc::shrinkable::shrinkRecur(std::move(sequence), [](const Sequence &complex) {
            return simplerSequences(complex);
        });
    };
}

int numberFromEnvironment(const char *name, int defaultNumber)
{
    bool ok = false;
    const int number = qEnvironmentVariableIntValue(name, &ok);
    return ok ? number : defaultNumber;
}

} // namespace

// Found by RapidCheck, which prints counterexamples with it.
void showValue(const Sequence &sequence, std::ostream &stream)
{
    for (const Operation &operation : sequence)
        stream << "\n    " << describe(operation).toStdString();
}

} // namespace tamsel::tests

using namespace tamsel::tests;
using tamsel::SettingsType;

class tst_Model : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void sequencesGetEverywhere_data();
    void sequencesGetEverywhere();
    void managerAndModelSayTheSame();

private:
    QStringList m_lines;
};

// What the model has to say to some sequences, always the same ones.
void tst_Model::initTestCase()
{
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        Driver<Model> model(u"/nowhere/"_s);
        for (const Operation &operation : sequences(60)(rc::Random(seed), 0).value())
            m_lines += model.apply(operation);
    }
}

// The comparison is worth as much as the sequences are: each of these has to come up.
void tst_Model::sequencesGetEverywhere_data()
{
    QTest::addColumn<QString>("pattern");
    const auto addRow
            = [](const QString &pattern) { QTest::newRow(qPrintable(pattern)) << pattern; };

    const QMetaEnum types = QMetaEnum::fromType<SettingsType>();
    for (int i = 0; i < types.keyCount(); ++i) {
        const QString type = QLatin1StringView(types.key(i));
        addRow("^info: Storage: "_L1 + type + " initialized"_L1);
        addRow("^info: Storage: "_L1 + type + " reinitialized"_L1);
        addRow("^info: Storage: "_L1 + type + " cleared"_L1);
        addRow("^warning: Unable to remove storage "_L1 + type + "\\. "_L1);
        addRow(": Top value changed "_L1 + type + ": "_L1);
        addRow("^recorder: "_L1 + type + " .* = QString"_L1);
    }
    addRow(u"^warning: Unable to remove storage \\. "_s);
    addRow(u"^info: Top value changed RavonaConfDefault: "_s);
    addRow(u"^debug: Top value changed RavonaConfDefault: "_s);
    addRow(u"^info: Top values changed: Rdm: \\{"_s);
    addRow(u"^debug: Top values changed: CommandLineArgs: \\{"_s);
    addRow(u"^debug: Top values changed: CustomConfPersistent: \\{"_s);
    addRow(u"^debug: Top values changed: SelviDb: \\{"_s);
    addRow(u"^debug: Parameter removed from all storages: "_s);
    addRow(u"^info: Parameter removed from all storages: "_s);
    addRow(u"^error: The storage doesn't support writing!"_s);
    addRow(u"^error: The storage doesn't support removing!"_s);
    addRow(u"^error: unable to write value .*/custom\\.conf, file is not writable"_s);
    addRow(u"^error: unable to write value .*/selvi\\.db, file is not writable"_s);
    addRow(u"^error: unable to write value .*/ravona\\.conf, file is not writable"_s);
    addRow(u"^reader: finds QString\\(nothing\\) false"_s);
    addRow(u"^reader: finds invalid true"_s);
    addRow(u"^writer: CustomConfPersistent g/K = "_s);
    addRow(u"^leaver: "_s);
    addRow(u"^toggler: "_s);
    addRow(u"^recorder: .* = invalid"_s);
    addRow(u"^recorder: .* = int\\("_s);
    addRow(u"^recorder: .* = double\\("_s);
    addRow(u"^recorder: .* = bool\\("_s);
    addRow(u"^recorder: .* = QStringList\\("_s);
    addRow(u"^recorder: .* a/c = "_s);
    addRow(u"^recorder: .* %1/%2 = "_s);
    addRow(u"^answer: true"_s);
    addRow(u"^answer: false"_s);
}

void tst_Model::sequencesGetEverywhere()
{
    QFETCH(const QString, pattern);
    QVERIFY(!m_lines.filter(QRegularExpression(pattern)).isEmpty());
}

void tst_Model::managerAndModelSayTheSame()
{
    const int steps = numberFromEnvironment("TAMSEL_MODEL_STEPS", 60);
    const QByteArray params = "max_success="
            + QByteArray::number(numberFromEnvironment("TAMSEL_MODEL_SEQUENCES", 2000)) + ' '
            + qgetenv("RC_PARAMS"); // what comes later wins
    qputenv("RC_PARAMS", params);

    QVERIFY(rc::check("manager and model say the same", [steps] {
        const Sequence sequence = *sequences(steps).as("sequence");
        const QString difference = firstDifference(sequence);
        if (!difference.isEmpty())
            RC_FAIL(difference.toStdString());
    }));
}

QTEST_GUILESS_MAIN(tst_Model)
#include "tst_model.moc"
