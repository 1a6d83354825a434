// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_QML_QMLHOST_H
#define TAMSEL_QML_QMLHOST_H

#include <QtCore/qglobal.h>

/*!
 * \file
 * \brief What a host lends to the QML module \c Tamsel, besides the published manager.
 *
 * \def TAMSEL_QML_EXPORT
 * \brief Makes a name visible outside the library of the QML module.
 */
#if defined(TAMSEL_STATIC)
#    define TAMSEL_QML_EXPORT
#elif defined(TAMSEL_QML_LIBRARY)
#    define TAMSEL_QML_EXPORT Q_DECL_EXPORT
#else
#    define TAMSEL_QML_EXPORT Q_DECL_IMPORT
#endif

namespace tamsel::host {
class ChangeNotifier;
class Redaction;
class SettingsCatalogue;
} // namespace tamsel::host

/*! \brief The library \c tamselqml, of the QML module \c Tamsel. */
namespace tamsel::qml {

/*!
 * \brief Lends \a notifier, or none if null, to the objects of the QML module.
 *
 * It is the notifier of the manager that is published with setQmlConfigManager(). The first QML
 * object of a thread takes what is lent then. As long as one of them lives, later objects of the
 * thread take the same, unless it was destroyed or another manager is published.
 *
 * Without a notifier, the first QML object makes one and the last one destroys it. While that
 * happens, no other thread may make a change, or make or destroy QML objects.
 *
 * \par Ownership
 * Borrowed. It may be destroyed while QML objects use it: they warn, and change nothing any more.
 * \par Threads
 * Not synchronised: call it before the engine is made, on the thread of the notifier.
 * \par Failure
 * There is none.
 */
TAMSEL_QML_EXPORT void setQmlChangeNotifier(host::ChangeNotifier *notifier);

/*!
 * \brief Lends \a catalogue, or none if null, to the models of the QML module that are made from
 * now on.
 *
 * It is the catalogue of the published manager. Without one, a model shows only settings that
 * change while it lives.
 *
 * \par Ownership
 * Borrowed: it must outlive the engine, or be replaced with null before it is destroyed.
 * \par Threads
 * As setQmlChangeNotifier().
 * \par Failure
 * There is none.
 */
TAMSEL_QML_EXPORT void setQmlSettingsCatalogue(host::SettingsCatalogue *catalogue);

/*!
 * \brief Uses \a redaction, in place of the default one, to take secrets out of the models that are
 * made from now on.
 *
 * \par Ownership
 * It is copied.
 * \par Threads
 * As setQmlChangeNotifier().
 * \par Failure
 * There is none.
 */
TAMSEL_QML_EXPORT void setQmlRedaction(const host::Redaction &redaction);

} // namespace tamsel::qml

#endif // TAMSEL_QML_QMLHOST_H
