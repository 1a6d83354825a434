// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "inifile.h"

#include "format.h"
#include "usererror.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QVariant>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <pthread.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype warningsShown = 10; // of one file

// Levels of lists and maps inside lists and maps. QSettings reads, copies and deletes them
// recursively: some 20 000 levels overflow a stack of 8 MB. Printing them needs stack too.
constexpr int deepestNesting = 500;

// A level takes at least this many bytes of the file: the type of a value inside a value.
constexpr qsizetype bytesPerLevel = 4;

// A nested value begins with "@Variant(", and each of these characters may be escaped.
bool mayBeNested(QByteArrayView line)
{
    return line.contains('@') || line.contains('\\');
}

// Twice the stack that Qt 6.4 to 6.11 need to read a level, divided by bytesPerLevel.
constexpr quint64 stackPerByte = 32 * sizeof(void *);
constexpr quint64 leastStack = 1 << 20;

QByteArray contentsOf(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (info.isSymLink() && !info.exists())
        throw UserError(u"cannot read %1: the link leads nowhere"_s.arg(fileName));
    if (!info.exists())
        return {};
    if (!info.isFile())
        throw UserError(u"cannot read %1: it is not a regular file"_s.arg(fileName));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw UserError(u"cannot read %1: %2"_s.arg(fileName, file.errorString()));
    return file.readAll();
}

bool isLineEnd(char character)
{
    return character == '\n' || character == '\r';
}

bool isSpace(char character)
{
    return character == ' ' || character == '\t' || isLineEnd(character);
}

// Splits a file into lines exactly as QSettings does: quotes and a backslash at its end continue a
// line, and a ";" that is not quoted ends it.
class LineReader
{
public:
    explicit LineReader(const QByteArray &contents) : m_contents(contents) { }

    bool readLine();
    // Without leading blanks.
    QByteArrayView line() const { return QByteArrayView(m_contents).sliced(m_start, m_size); }
    bool hasEquals() const { return m_hasEquals; }
    // The number of the line, from 1.
    qsizetype number();

private:
    bool skipComment();

    const QByteArray &m_contents;
    qsizetype m_position = 0;
    qsizetype m_start = 0;
    qsizetype m_size = 0;
    bool m_hasEquals = false;
    qsizetype m_counted = 0; // line ends are counted up to here
    qsizetype m_number = 1;
};

bool LineReader::readLine()
{
    const qsizetype end = m_contents.size();
    bool inQuotes = false;
    m_hasEquals = false;
    m_start = m_position;
    while (m_start < end && isSpace(m_contents.at(m_start)))
        ++m_start;
    qsizetype i = m_start;
    for (; i < end; ++i) {
        const char character = m_contents.at(i);
        if (character == '"') {
            inQuotes = !inQuotes;
        } else if (character == '\\') {
            const QByteArray next = m_contents.mid(i + 1, 2);
            i += next == "\r\n" || next == "\n\r" ? 2 : 1;
        } else if (character == ';' && i == m_start) {
            while (i < end && !isLineEnd(m_contents.at(i)))
                ++i;
            while (i < end && isSpace(m_contents.at(i)))
                ++i;
            m_start = i--;
        } else if (!inQuotes && (character == ';' || isLineEnd(character))) {
            break;
        } else if (!inQuotes && character == '=') {
            m_hasEquals = true;
        }
    }
    m_position = std::min(i, end);
    m_size = m_position - m_start;
    return m_size > 0;
}

qsizetype LineReader::number()
{
    for (; m_counted < m_start; ++m_counted) {
        const char character = m_contents.at(m_counted);
        const bool isFirstOfTwo = character == '\r' && m_contents.at(m_counted + 1) == '\n';
        if (isLineEnd(character) && !isFirstOfTwo)
            ++m_number;
    }
    return m_number;
}

// NOLINTBEGIN(misc-no-recursion): loadOnOwnStack() provides the stack for deeply nested values
int nestingOf(const QVariant &value)
{
    int deepest = 0;
    const auto lookInto = [&deepest](const auto &values) {
        for (const QVariant &inner : values)
            deepest = std::max(deepest, nestingOf(inner));
    };
    switch (value.typeId()) {
    case QMetaType::QVariantList:
        lookInto(*static_cast<const QVariantList *>(value.constData()));
        break;
    case QMetaType::QVariantMap:
        lookInto(*static_cast<const QVariantMap *>(value.constData()));
        break;
    case QMetaType::QVariantHash:
        lookInto(*static_cast<const QVariantHash *>(value.constData()));
        break;
    case QMetaType::QVariant:
        deepest = nestingOf(*static_cast<const QVariant *>(value.constData()));
        break;
    default:
        return 0;
    }
    return deepest + 1;
}
// NOLINTEND(misc-no-recursion)

struct Loading
{
    QString fileName;
    std::unique_ptr<QSettings> settings;
    bool mayBeDeep; // whether a line is long enough for values nested too deep
    QStringList entries = {};
    QString deepKey = {}; // the first entry nested too deep; empty if there is none
    int deepest = 0;
};

void *load(void *argument)
{
    auto *loading = static_cast<Loading *>(argument);
    loading->settings = std::make_unique<QSettings>(loading->fileName, QSettings::IniFormat);
    loading->entries = loading->settings->allKeys(); // all sections are parsed now
    if (!loading->mayBeDeep)
        return nullptr;
    for (const QString &key : std::as_const(loading->entries)) {
        // QSettings finds an entry with an empty full key as "/".
        loading->deepest = nestingOf(loading->settings->value(key.isEmpty() ? u"/"_s : key));
        if (loading->deepest > deepestNesting) {
            loading->deepKey = key;
            break;
        }
    }
    return nullptr;
}

// Loads on a stack that suffices for the deepest values that a line of `longest` bytes can hold.
void loadOnOwnStack(Loading *loading, qsizetype longest)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_t thread{};
    const quint64 stack = leastStack + stackPerByte * quint64(longest);
    const bool started = stack < std::numeric_limits<std::size_t>::max() / 2
            && pthread_attr_setstacksize(&attributes, (std::size_t(stack) | 0xffff) + 1) == 0
            && pthread_create(&thread, &attributes, load, loading) == 0;
    pthread_attr_destroy(&attributes);
    if (!started)
        throw UserError(u"cannot read %1: there is not enough memory"_s.arg(loading->fileName));
    pthread_join(thread, nullptr);
}

// Intentional: never deletes them. Deleting deeply nested values needs as much stack as loading
// them.
const QSettings *keep(std::unique_ptr<QSettings> settings)
{
    // NOLINTNEXTLINE(*-non-const-global-variables)
    static auto *const kept = new std::vector<std::unique_ptr<QSettings>>;
    kept->push_back(std::move(settings));
    return kept->back().get();
}

} // namespace

IniFile::IniFile(const QString &fileName) : m_fileName(fileName)
{
    const qsizetype longest = checkLines(contentsOf(fileName));
    Loading loading{fileName, {}, longest > deepestNesting * bytesPerLevel};
    if (loading.mayBeDeep)
        loadOnOwnStack(&loading, longest);
    else
        load(&loading);
    m_settings = keep(std::move(loading.settings));
    m_entries = loading.entries;
    if (!loading.deepKey.isEmpty()) {
        throw UserError(u"%1: the value of %2 is nested %3 levels deep, and more than %4 can end a "
                        "program that reads it"_s.arg(fileName, loading.deepKey,
                                                      QString::number(loading.deepest),
                                                      QString::number(deepestNesting)));
    }
    if (m_settings->status() == QSettings::AccessError)
        throw UserError(u"cannot read %1"_s.arg(fileName));
    if (m_settings->status() != QSettings::NoError && m_warnings.isEmpty())
        m_warnings.append(u"%1: QSettings reports it as damaged"_s.arg(fileName));
}

// Returns the size of the longest line that may hold nested values.
qsizetype IniFile::checkLines(const QByteArray &contents)
{
    qsizetype longest = 0;
    qsizetype unshown = 0;
    LineReader reader(contents);
    const auto warn = [&](const QString &text) {
        if (m_warnings.size() < warningsShown)
            m_warnings.append(
                    u"%1, line %2: %3"_s.arg(m_fileName, QString::number(reader.number()), text));
        else
            ++unshown;
    };
    const bool marked = contents.startsWith("\xef\xbb\xbf");
    if (marked)
        m_warnings.append(u"%1, line 1: a byte order mark, for which Qt 6.4 reports the file as "
                          "damaged"_s.arg(m_fileName));
    while (reader.readLine()) {
        QByteArrayView line = reader.line();
        if (line.size() > longest && mayBeNested(line))
            longest = line.size();
        if (marked && line.data() == contents.constData())
            line = line.sliced(3).trimmed();
        if (line.startsWith('[')) {
            const qsizetype end = line.indexOf(']');
            if (end < 0)
                warn(u"the section has no closing bracket"_s);
            else if (line.first(end).contains('\\'))
                warn(u"a backslash in the name of a section, for which Qt 6.11 reports the file as "
                     "damaged"_s);
        } else if (!line.isEmpty() && !line.startsWith(';') && !reader.hasEquals()) {
            warn(u"no section, no key=value and no comment; the line is skipped"_s);
        }
    }
    if (unshown > 0)
        m_warnings.append(
                u"%1: %2 more lines are damaged"_s.arg(m_fileName, QString::number(unshown)));
    return longest;
}
