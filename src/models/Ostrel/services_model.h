// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_SERVICES_MODEL_H
#define OSTREL_SERVICES_MODEL_H

#include <Ostrel/live_model.h>

namespace Ostrel
{

class Control;

/**
 * The running services of applications, as a model that follows them.
 *
 * It lists, fails and recovers as ApplicationsModel does. A row is a service with its application
 * and its process: it stays as long as the lifecycle service lists all three.
 *
 * The lifecycle service announces starts, ends and states of applications only. A service that
 * comes or goes without such an announcement shows with the next list.
 */
class OSTREL_EXPORT ServicesModel : public LiveModel
{
    Q_OBJECT

public:
    /** The columns. Later versions may add some at the end. */
    enum Column {
        /** The identifier of the application. */
        AppIdColumn,
        /** The name of the service. */
        NameColumn,
        /** The number of the process. */
        PidColumn,
        /** The state, a number that the lifecycle service defines. */
        StateColumn,
        /** The further properties, as JSON. */
        PropertiesColumn,
        /** The time since which the state is the present one. */
        SinceColumn,
    };
    Q_ENUM(Column)

    /** The roles. Their names in QML are those of the members of the record. */
    enum Role {
        /** "appId": the identifier of the application, a QString. */
        AppIdRole = Qt::UserRole,
        /** "name": the name of the service, a QString. */
        NameRole,
        /** "pid": the number of the process, an int. */
        PidRole,
        /** "state": the state, a uint. */
        StateRole,
        /** "properties": as ApplicationsModel::PropertiesRole. */
        PropertiesRole,
        /** "since": as ApplicationsModel::SinceRole. */
        SinceRole,
    };
    Q_ENUM(Role)

    /**
     * Constructs a model of what Control::instance() lists, and sends the first list.
     *
     * @param parent  the parent.
     */
    explicit ServicesModel(QObject *parent = nullptr);

    /**
     * Constructs a model of what @p control lists, and sends the first list.
     *
     * @param control  as for ApplicationsModel.
     * @param parent   the parent.
     */
    explicit ServicesModel(Control *control, QObject *parent = nullptr);

    ~ServicesModel() override;

    /** Lists what runs once more, as ApplicationsModel::refresh() does. */
    Q_INVOKABLE void refresh();
};

} // namespace Ostrel

#endif
