// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_SETTINGSTYPE_H
#define TAMSEL_SETTINGSTYPE_H

#include <tamsel/tamselglobal.h>

// QMetaType captures the stream operators visible where it is instantiated; include them here so
// that every translation unit builds the same one.
#include <QtCore/QDataStream>
#include <QtCore/QDebug>
#include <QtCore/QList>
#include <QtCore/QMetaType>

/*! \brief The layered settings of a set-top box's software. */
namespace tamsel {
Q_NAMESPACE_EXPORT(TAMSEL_EXPORT)

/*!
 * \brief Names one layer of the settings.
 *
 * The numbers are stable. QDataStream writes them as signed 32-bit integers and reads them without
 * a range check. They say nothing about precedence: the rank of a layer is its position in
 * #storagePriority.
 *
 * | Layer                | Number | Rank | Holds                                                    |
 * |----------------------|--------|------|----------------------------------------------------------|
 * | CommandLineArgs      | 0      | 4    | options of the process's command line, read-only         |
 * | CustomConfPersistent | 1      | 5    | the user's own settings, in "custom.conf"                |
 * | Rdm                  | 2      | 1    | a fixed map from the host, read-only                     |
 * | RavonaConfDefault    | 3      | 7    | the defaults of the main application, in "ravona.conf"   |
 * | SystemProperties     | 4      | 3    | system properties that the host sets while it runs       |
 * | Runtime              | 5      | 0    | values set while the process runs, never saved           |
 * | SelviDb              | 6      | 6    | provisioned settings, in the INI file "selvi.db"         |
 * | FeatureKeys          | 7      | 2    | a fixed map of feature keys from the host, read-only     |
 *
 * The type is a registered Qt meta type named "tamsel::SettingsType": it can be held in a QVariant,
 * written to a QDataStream and printed with qDebug(). The operator \c < compares the numbers.
 */
enum class SettingsType : int {
    CommandLineArgs = 0,
    CustomConfPersistent = 1,
    Rdm = 2,
    RavonaConfDefault = 3,
    SystemProperties = 4,
    Runtime = 5,
    SelviDb = 6,
    FeatureKeys = 7,
};
Q_ENUM_NS(SettingsType)

/*!
 * \brief All eight layers, the one of highest precedence first; see the ranks of SettingsType.
 *
 * \par Threads
 * Built when the library is loaded and never changed: any thread may read it without a lock. Do not
 * use it in the constructors of static objects, where it may still be empty; priorityOf() works
 * there.
 */
extern TAMSEL_EXPORT const QList<SettingsType> storagePriority;

/*!
 * \brief The position of \a type in #storagePriority: 0 is the highest precedence, 7 the lowest.
 *
 * For a value outside the enumeration it is -1, which ranks above every layer.
 */
[[nodiscard]] TAMSEL_EXPORT int priorityOf(SettingsType type) noexcept;

} // namespace tamsel

#endif // TAMSEL_SETTINGSTYPE_H
