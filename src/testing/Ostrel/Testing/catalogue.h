// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_CATALOGUE_H
#define OSTREL_TESTING_CATALOGUE_H

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

namespace Ostrel::Testing
{

/**
 * What the simulator can run, as values in place of a file.
 *
 * @code
 * Ostrel::Testing::Catalogue catalogue;
 * catalogue.addApplication({QStringLiteral("demo.Viewer"), QStringLiteral("sleep"),
 *                           {QStringLiteral("infinity")}});
 * simulator.setCatalogue(catalogue);
 * @endcode
 *
 * The members and their limits are those of the file, which
 * @ref md_tools_simulator_catalogue "the catalogue" describes. The simulator
 * checks them when it starts. An object is a plain value.
 */
class Catalogue
{
public:
    /** A program that runs with each instance of an application. */
    struct Service
    {
        /** The name, unique in its application. */
        QString name;
        /** A path, or a name in PATH. */
        QString program;
        /** The arguments of the program. */
        QStringList arguments = {};
    };

    /** An application. */
    struct Application
    {
        /** The identifier, as Control::start() takes it. */
        QString id;
        /** A path, or a name in PATH. */
        QString program;
        /** The arguments of the program. */
        QStringList arguments = {};
        /** The properties that the service lists: strings, numbers, bools, lists and maps. */
        QVariantMap properties = {};
        /** The kind that the service lists. */
        quint32 kind = 0;
        /** Whether only one instance can run. */
        bool singleInstance = false;
        /** The services of each instance. */
        QVector<Service> services = {};
    };

    /** A task. */
    struct Task
    {
        /** The name, as TaskInvoker::start() takes it. */
        QString name;
        /** A path, or a name in PATH. */
        QString program;
        /** The arguments of the program. */
        QStringList arguments = {};
        /** The properties that the service lists: strings, numbers, bools, lists and maps. */
        QVariantMap properties = {};
    };

    /** Adds an @p application. Makes no bus call. */
    void addApplication(const Application &application);

    /** Adds a @p task of the type @p taskType. Makes no bus call. */
    void addTask(const QString &taskType, const Task &task);

    /** Returns the catalogue as the simulator reads it. Makes no bus call. */
    QJsonObject toJson() const;

private:
    QVector<Application> m_applications;
    QMap<QString, QVector<Task>> m_tasks;
};

} // namespace Ostrel::Testing

#endif
