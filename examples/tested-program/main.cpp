// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Keeps an application running, and says each time that it has started.

#include "keeper.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        err << "Usage: tested-program APPLICATION\n";
        return EXIT_FAILURE;
    }
    Keeper keeper(arguments.at(1));
    QObject::connect(&keeper, &Keeper::started, &keeper, [&out](const QString &instance) {
        out << "started as " << instance << Qt::endl;
    });
    QObject::connect(&keeper, &Keeper::failed, &keeper, [&](const QString &reason) {
        err << "cannot start " << arguments.at(1) << ": " << reason << Qt::endl;
        QCoreApplication::exit(EXIT_FAILURE);
    });
    keeper.start();
    return QCoreApplication::exec();
}
