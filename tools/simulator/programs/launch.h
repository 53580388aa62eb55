// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_LAUNCH_H
#define SIMULATOR_LAUNCH_H

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

#include <memory>

// How a program is run.
struct Launch
{
    QString program;
    QStringList arguments;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

    // Open files; without one, the simulator's own output is used.
    std::shared_ptr<QFile> standardOutput;
    std::shared_ptr<QFile> standardError;

    // Sets each entry NAME=VALUE in the environment.
    void addEnvironment(const QStringList &entries);
};

// What is wrong with an entry of an environment; null if nothing is.
QString environmentMistake(const QString &key, const QStringList &entries);

// What is wrong with the types of known values: their signatures stand by their keys. Null if
// nothing is.
QString typeMistake(const QVariantMap &values, const QHash<QString, QString> &signatures);

#endif
