// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "screenshot.h"

#include "main_window.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtGui/QImageWriter>
#include <QtGui/QPixmap>

#include <cstdio>
#include <cstdlib>

void takeScreenshot(MainWindow &window, const QString &file)
{
    // What has arrived has been painted after some passes of the event loop.
    constexpr int passes = 5;
    constexpr int milliseconds = 20;
    auto *look = new QTimer(&window);
    QObject::connect(look, &QTimer::timeout, &window, [look, &window, file, settled = 0]() mutable {
        settled = window.isSettled() ? settled + 1 : 0;
        if (settled < passes) {
            return;
        }
        look->stop();
        QImageWriter writer(file);
        if (writer.format().isEmpty()) {
            writer.setFormat("png");
        }
        if (writer.write(window.grab().toImage())) {
            QCoreApplication::exit(EXIT_SUCCESS);
            return;
        }
        QTextStream(stderr) << "cannot write " << file << ": " << writer.errorString() << '\n';
        QCoreApplication::exit(EXIT_FAILURE);
    });
    look->start(milliseconds);
}
