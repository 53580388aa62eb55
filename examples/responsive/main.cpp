// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Starts an application, and goes on with its event loop while the service is slow. It has one
// thread; a window would stay responsive in the same way.

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>

#include <cstdlib>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        err << "Usage: responsive APPLICATION\n";
        return EXIT_FAILURE;
    }

    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&out] { out << "tick" << Qt::endl; });
    timer.start(100);

    // The callback runs from the event loop, with an error if the service or the message bus goes.
    // It is dropped if its context, the timer, is deleted.
    Ostrel::Control control;
    control.start(arguments.at(1), &timer, [&](const Ostrel::Control::StartResult &result) {
        if (result.error) {
            err << "cannot start: " << result.error.message() << Qt::endl;
            QCoreApplication::exit(EXIT_FAILURE);
        } else {
            out << "started as " << result.appInstanceId << Qt::endl;
            QCoreApplication::quit();
        }
    });
    return QCoreApplication::exec();
}
