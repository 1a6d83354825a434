// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "driver.h"

#include "alphabet.h"
#include "files.h"
#include "model.h"

#include <tamsel/configurationmanager.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringBuilder>
#include <QtCore/QTemporaryDir>

using namespace Qt::StringLiterals;

namespace tamsel::tests {

namespace {

// Empty for a layer without a file.
QString fileNameOf(SettingsType type)
{
    switch (type) {
    case SettingsType::CustomConfPersistent:
        return u"custom.conf"_s;
    case SettingsType::SelviDb:
        return u"selvi.db"_s;
    case SettingsType::RavonaConfDefault:
        return u"ravona.conf"_s;
    default:
        return {};
    }
}

// In memory where there is such a place: QSettings waits for the disk whenever it writes a file.
QString temporaryTemplate()
{
    const QString memory = u"/dev/shm"_s;
    const QString place = QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
    return place + u"/tst_model-XXXXXX"_s;
}

// QSettings remembers some of the files that were closed in this process and does not read them
// again while size and time stay the same: whether values still have their types or are text again
// would depend on how many files were open and how long they were. Another time makes it read the
// file, as a new process does.
void makeLookChanged(const QString &fileName)
{
    static qint64 seconds = 1'000'000'000; // long ago: no file is really written then
    QFile file(fileName);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadWrite)
        || !file.setFileTime(QDateTime::fromSecsSinceEpoch(++seconds),
                             QFileDevice::FileModificationTime))
        qFatal("cannot set the time of a file");
}

void beforeOpening(const ConfigurationManager &, const QString &fileName)
{
    makeLookChanged(fileName);
}

void beforeOpening(const Model &, const QString &) { }

void putFile(ConfigurationManager &, const QString &fileName, const IniFile &content)
{
    if (!writeFile(fileName, content.text))
        qFatal("cannot write a file");
}

void putFile(Model &model, const QString &fileName, const IniFile &content)
{
    model.replaceFile(fileName, content);
}

void prepare(ConfigurationManager &, const QString &) { }

void prepare(Model &model, const QString &unwritable)
{
    model.forbidWriting(unwritable);
}

QLatin1StringView text(bool answer)
{
    return answer ? "true"_L1 : "false"_L1;
}

} // namespace

template <typename Manager> Driver<Manager>::Driver(const QString &root) : m_root(root)
{
    prepare(m_manager, path(Place::Unwritable));
    goTo(SettingsType::CustomConfPersistent, Place::First);
    goTo(SettingsType::RavonaConfDefault, Place::First);

    m_handlers = {
            std::make_unique<RecordingHandler>(&m_journal, u"recorder"_s),
            std::make_unique<RecordingHandler>(&m_journal, u"reader"_s),
            std::make_unique<RecordingHandler>(&m_journal, u"writer"_s),
            std::make_unique<RecordingHandler>(&m_journal, u"leaver"_s),
            std::make_unique<RecordingHandler>(&m_journal, u"toggler"_s),
    };
    handler(Role::Reads).reaction = [this](SettingsType, const QString &group, const QString &key,
                                           const QVariant &) {
        m_journal.add("reader: finds "_L1 % describe(m_manager.value(group, key, u"nothing"_s))
                      % u' ' % text(m_manager.contains(group, key)));
    };
    // Goes on to another key, so that it comes to an end; a file layer is the most surprising one.
    handler(Role::Writes).reaction = [this](SettingsType, const QString &group, const QString &key,
                                            const QVariant &value) {
        if (key == u'k')
            m_manager.setValue(group, u"K"_s, value, SettingsType::CustomConfPersistent);
        else if (key == u'K')
            m_manager.removeValue(group, u"c"_s, SettingsType::SystemProperties);
    };
    handler(Role::Leaves).reaction
            = [this](SettingsType, const QString &, const QString &, const QVariant &) {
                  m_value = u"overwritten"_s; // later handlers get what was written
                  m_manager.removeConfigurationHandler(&handler(Role::Leaves));
              };
    handler(Role::TogglesAnother).reaction
            = [this](SettingsType, const QString &, const QString &, const QVariant &) {
                  if (!m_manager.removeConfigurationHandler(&handler(Role::Records)))
                      m_manager.appendConfigurationHandler(&handler(Role::Records));
              };
    m_manager.appendConfigurationHandler(&handler(Role::Records));
    m_manager.appendConfigurationHandler(&handler(Role::Reads));
}

template <typename Manager> QStringList Driver<Manager>::apply(const Operation &operation)
{
    const SettingsType type = layerAlphabet().at(operation.layer);
    const auto &[group, key] = keyAlphabet().at(operation.key);
    const QVariant &value = valueAlphabet().at(operation.value);
    switch (operation.action) {
    case Action::SetValue:
        m_value = value;
        m_manager.setValue(group, key, m_value, type);
        break;
    case Action::RemoveValue:
        m_manager.removeValue(group, key, type);
        break;
    case Action::Value:
        m_journal.add("answer: "_L1 % describe(m_manager.value(group, key, value)));
        break;
    case Action::Contains:
        m_journal.add("answer: "_L1 % text(m_manager.contains(group, key)));
        break;
    case Action::ContainsInLayer:
        m_journal.add("answer: "_L1 % text(m_manager.contains(group, key, type)));
        break;
    case Action::StorageAvailable:
        m_journal.add("answer: "_L1 % text(m_manager.storageAvailable(type)));
        break;
    case Action::InitStorage:
        initStorage(type, toMap(operation.entries));
        break;
    case Action::ClearStorage:
        m_manager.clearStorage(type);
        m_openFiles.erase(type);
        break;
    case Action::AppendHandler:
        m_journal.add("answer: "_L1
                      % text(m_manager.appendConfigurationHandler(&handler(operation.role))));
        break;
    case Action::RemoveHandler:
        m_journal.add("answer: "_L1
                      % text(m_manager.removeConfigurationHandler(&handler(operation.role))));
        break;
    case Action::SetPersistentStoragePath:
        goTo(SettingsType::CustomConfPersistent, operation.place);
        break;
    case Action::SetAssetsPrefix:
        goTo(SettingsType::RavonaConfDefault, operation.place);
        break;
    case Action::DeliverFile:
        deliverFile(operation);
        break;
    }
    return m_journal.take();
}

template <typename Manager> RecordingHandler &Driver<Manager>::handler(Role role)
{
    return *m_handlers.at(static_cast<std::size_t>(role));
}

template <typename Manager> QString Driver<Manager>::path(Place place) const
{
    switch (place) {
    case Place::First:
        return m_root + "first/"_L1;
    case Place::Second:
        return m_root + "second/"_L1;
    case Place::Unwritable:
        break;
    }
    return m_root + "file/"_L1;
}

// Sets the prefix from which the file of type is made.
template <typename Manager> void Driver<Manager>::goTo(SettingsType type, Place place)
{
    if (type == SettingsType::RavonaConfDefault) {
        m_assetsPrefix = path(place);
        m_manager.setAssetsPrefix(m_assetsPrefix);
    } else {
        m_persistentStoragePath = path(place);
        m_manager.setPersistentStoragePath(m_persistentStoragePath);
    }
}

template <typename Manager>
void Driver<Manager>::initStorage(SettingsType type, const QVariantMap &values)
{
    const QString fileName = fileNameOf(type);
    if (!fileName.isEmpty()) {
        const QString prefix = type == SettingsType::RavonaConfDefault ? m_assetsPrefix
                                                                       : m_persistentStoragePath;
        QString &openFile = m_openFiles[type];
        if (openFile != prefix + fileName)
            beforeOpening(m_manager, prefix + fileName);
        openFile = prefix + fileName;
    }
    m_manager.initStorage(type, values);
}

// Delivers only while no layer has the file open: when QSettings looks at an open file again, and how
// it mixes what it finds there with changes of its own, is up to QSettings.
template <typename Manager> void Driver<Manager>::deliverFile(const Operation &operation)
{
    const SettingsType type = layerAlphabet().at(operation.layer);
    const QString fileName = fileNameOf(type);
    if (fileName.isEmpty() || operation.place == Place::Unwritable)
        return;
    const QString filePath = path(operation.place) + fileName;
    const auto openFile = m_openFiles.find(type);
    if (openFile == m_openFiles.end() || openFile->second != filePath)
        putFile(m_manager, filePath, fileAlphabet().at(operation.file));
    goTo(type, operation.place);
    initStorage(type, {});
}

template class Driver<ConfigurationManager>;
template class Driver<Model>;

bool makePlaces(const QString &root)
{
    const QDir directory(root);
    return directory.mkpath(u"first"_s) && directory.mkpath(u"second"_s)
            && writeFile(root + "file"_L1, {});
}

QString firstDifference(const Sequence &sequence)
{
    const QTemporaryDir directory(temporaryTemplate());
    const QString root = directory.path() + u'/';
    if (!directory.isValid() || !makePlaces(root))
        qFatal("no temporary directory");
    Driver<ConfigurationManager> manager(root);
    Driver<Model> model(root);
    for (std::size_t i = 0; i < sequence.size(); ++i) {
        const QStringList expected = model.apply(sequence[i]);
        const QStringList actual = manager.apply(sequence[i]);
        if (actual != expected) {
            return "operation "_L1 % QString::number(i + 1) % ", "_L1 % describe(sequence[i])
                    % "\n  manager:\n    "_L1 % actual.join("\n    "_L1) % "\n  model:\n    "_L1
                    % expected.join("\n    "_L1);
        }
    }
    return {};
}

} // namespace tamsel::tests
