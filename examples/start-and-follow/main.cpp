// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Starts an application and says what becomes of it, until it has ended or the service has gone.

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

    // The signals come for every instance of every application; this is ours.
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
                             control->disconnect(&application);
                             QCoreApplication::quit();
                         }
                     });

    // From here on the end of the message bus is noticed: requests fail, and the service is lost.
    control->isServiceAvailable();
    QCoreApplication::processEvents();

    // Nothing is missed while this blocks: the event loop delivers the signals later.
    const Control::StartResult result = control->start(arguments.at(1));
    if (result.error) {
        err << "cannot start " << arguments.at(1) << ": " << result.error.message() << Qt::endl;
        return EXIT_FAILURE;
    }
    instance = result.appInstanceId;
    out << "started as " << instance << Qt::endl;

    // Without the service no signal comes. A new service knows nothing of this instance.
    QObject::connect(control, &Control::serviceAvailableChanged, &application, [&](bool available) {
        if (!available) {
            err << "lost the service, cannot follow " << instance << Qt::endl;
            QCoreApplication::exit(EXIT_FAILURE);
        }
    });
    return QCoreApplication::exec();
}
