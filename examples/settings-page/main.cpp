// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A page of settings for a television.

#include "../settop/directories.h"
#include "settingsbox.h"

#include <tamsel/commandlineargs.h>

#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"settings-page"_s);

    const QVariantMap commandLine = tamsel::commandLineArgs::parse(); // bad options end it here
    const QStringList directories = positionalArguments(QGuiApplication::arguments());
    const QString storage = directories.value(0, u"settop-storage"_s);
    const QString assets = directories.value(1, QStringLiteral(SETTOP_ASSETS_DIR));
    if (const QString problem = prepareStorage(storage); !problem.isEmpty()) {
        std::fprintf(stderr, "settings-page: %s\n", qPrintable(problem));
        return 1;
    }

    SettingsBox box(asPrefix(storage), asPrefix(assets), commandLine);
    QQmlApplicationEngine engine; // dies before the box
    engine.load(QUrl(u"qrc:/qt-project.org/imports/SettingsPage/Main.qml"_s));
    return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
