// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Runs the tst_*.qml beside it with a box that they may change.

#include "box.h"

#include <QtQml/QQmlEngine>
#include <QtQuickTest/quicktest.h>

using tamsel::tests::Box;

class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        QQmlEngine::setObjectOwnership(&m_box, QQmlEngine::CppOwnership);
        qmlRegisterSingletonInstance("TestBox", 1, 0, "Box", &m_box);
        engine->addImportPath(QStringLiteral(TAMSEL_TESTS_QML_IMPORT_PATH));
    }

private:
    Box m_box;
};

QUICK_TEST_MAIN_WITH_SETUP(tst_settings, Setup)
#include "tst_settings.moc"
