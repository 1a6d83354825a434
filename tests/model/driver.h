// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_TESTS_DRIVER_H
#define TAMSEL_TESTS_DRIVER_H

#include "operation.h"

#include "recording.h"

#include <tamsel/settingstype.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <array>
#include <map>
#include <memory>

namespace tamsel::tests {

// Carries operations out on a ConfigurationManager or on a Model, with a logger and with one handler
// of each role. All of it is written down in one journal, the answers included.
template <typename Manager> class Driver
{
public:
    // root ends with "/" and is prepared by makePlaces().
    explicit Driver(const QString &root);

    // What was logged, notified and returned, in order.
    QStringList apply(const Operation &operation);

private:
    Q_DISABLE_COPY_MOVE(Driver)

    RecordingHandler &handler(Role role);
    QString path(Place place) const;
    void goTo(SettingsType type, Place place);
    void initStorage(SettingsType type, const QVariantMap &values);
    void deliverFile(const Operation &operation);

    const QString m_root;
    Journal m_journal;
    RecordingLogger m_logger{&m_journal};
    std::array<std::unique_ptr<RecordingHandler>, roleCount> m_handlers;
    QVariant m_value; // the variable whose value is written, within reach of the handlers
    std::map<SettingsType, QString> m_openFiles;
    QString m_persistentStoragePath;
    QString m_assetsPrefix;
    Manager m_manager{&m_logger};
};

// Creates in root what the places stand for.
bool makePlaces(const QString &root);

// Carries sequence out on both a manager, in a temporary directory of its own, and the model. The
// first operation about which they disagree and what each had to say, or an empty text.
QString firstDifference(const Sequence &sequence);

} // namespace tamsel::tests

#endif // TAMSEL_TESTS_DRIVER_H
