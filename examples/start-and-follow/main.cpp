// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Starts an application and tells what becomes of it, until it has ended.

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <cstdio>
#include <cstdlib>

using Ostrel::Control;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        err << "Usage: start-and-follow APPLICATION\n";
        return EXIT_FAILURE;
    }

    // The signals tell of every instance of every application; this is ours.
    QString instance;
    Control *const control = Control::instance();
    QObject::connect(control, &Control::stateChanged, &application,
                     [&](const QString &appInstanceId, Ostrel::ApplicationState state) {
                         if (appInstanceId == instance) {
                             out << "state " << quint32(state) << Qt::endl;
                         }
                     });
    QObject::connect(control, &Control::terminated, &application,
                     [&](const QString &appInstanceId) {
                         if (appInstanceId == instance) {
                             out << "ended" << Qt::endl;
                             QCoreApplication::quit();
                         }
                     });

    // From here on a message bus that ends makes requests fail. Without it they would never return.
    QCoreApplication::processEvents();

    // Nothing is missed while this waits: the event loop hands out the signals, later.
    const Control::StartResult result = control->start(arguments.at(1));
    if (result.error) {
        err << "cannot start " << arguments.at(1) << ": " << result.error.message() << Qt::endl;
        return EXIT_FAILURE;
    }
    instance = result.appInstanceId;
    out << "started as " << instance << Qt::endl;
    return QCoreApplication::exec();
}
