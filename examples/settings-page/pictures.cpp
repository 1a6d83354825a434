// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Takes a picture of both pages, in the state that a few keys of a remote control bring about:
// settings-page-pictures DIRECTORY. scripts/pictures runs it.

#include "../settop/directories.h"
#include "settingsbox.h"

#include <QtCore/QHash>
#include <QtCore/QTemporaryDir>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void press(QQuickWindow *window, const QList<Qt::Key> &keys)
{
    for (const Qt::Key key : keys) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &press);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &release);
        QCoreApplication::processEvents();
    }
}

// The picture in its 256 most frequent colours: a fifth of the bytes, and no difference to the eye.
QImage inFewColors(const QImage &picture)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    QList<QRgb> colors = counts.keys();
    std::sort(colors.begin(), colors.end(), [&](QRgb left, QRgb right) {
        const int order = counts.value(right) - counts.value(left);
        return order != 0 ? order < 0 : left < right;
    });
    colors.resize(qMin<qsizetype>(colors.size(), 256));
    return picture.convertToFormat(QImage::Format_Indexed8, colors, Qt::ThresholdDither);
}

bool save(QQuickWindow *window, const QString &fileName)
{
    const QImage picture = window->grabWindow().convertToFormat(QImage::Format_RGB32);
    if (inFewColors(picture).save(fileName, "PNG", 0))
        return true;
    std::fprintf(stderr, "cannot write %s\n", qPrintable(fileName));
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("usage: settings-page-pictures DIRECTORY\n", stderr);
        return 2;
    }
    const QString folder = asPrefix(arguments.at(1));

    const QTemporaryDir storage;
    if (!storage.isValid()) {
        std::fprintf(stderr, "no temporary directory: %s\n", qPrintable(storage.errorString()));
        return 1;
    }
    const QVariantMap commandLine{{u"Service"_s, QVariantMap{{u"audio"_s, u"fr"_s}}}};
    SettingsBox box(asPrefix(storage.path()), QStringLiteral(SETTOP_ASSETS_DIR) + u'/',
                    commandLine);
    QQmlApplicationEngine engine;
    engine.load(QUrl(u"qrc:/qt-project.org/imports/SettingsPage/Main.qml"_s));
    auto *window = engine.rootObjects().isEmpty()
            ? nullptr
            : qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (!window)
        return 1;
    window->requestActivate();
    while (!window->isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);

    press(window, {Qt::Key_Down, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right});
    if (!save(window, folder + "settings-page.png"_L1))
        return 1;
    press(window,
          {Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return, Qt::Key_Down,
           Qt::Key_Down, Qt::Key_Down});
    return save(window, folder + "engineering-page.png"_L1) ? 0 : 1;
}
