// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_CATALOGUE_H
#define SIMULATOR_CATALOGUE_H

#include "programs/launch.h"
#include "result.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

#include <optional>

// What the catalogue says about every program.
struct Program
{
    QString program;
    QStringList arguments;
    QVariantMap properties;

    // How it is run unless a call asks for something else.
    Launch launch() const;
};

// A program that runs while its application runs.
struct ApplicationService : Program
{
    QString name;
};

struct Application : Program
{
    QString id;
    uint kind = 0;
    bool singleInstance = false;
    QVector<ApplicationService> services;
};

struct Task : Program
{
    QString name;
};

struct TaskType
{
    QString name;
    QVector<Task> tasks;

    std::optional<Task> task(const QString &taskName) const;
};

// What the simulator can run.
struct Catalogue
{
    QVector<Application> applications;
    QVector<TaskType> taskTypes;

    std::optional<Application> application(const QString &id) const;

    // A type that is not listed has no tasks.
    TaskType taskType(const QString &name) const;
};

// Whether the type can be the end of an object's path.
bool makesAPath(const QString &taskType);

// The text of the simulator's own catalogue.
QByteArray builtInCatalogue();

// Reads the file, or the simulator's own catalogue if the name is empty. An error comes with its
// place in the file.
Result<Catalogue> readCatalogue(const QString &file);

#endif
