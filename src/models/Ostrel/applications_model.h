// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_APPLICATIONS_MODEL_H
#define OSTREL_APPLICATIONS_MODEL_H

#include <Ostrel/live_model.h>

namespace Ostrel
{

class Control;

/**
 * The running applications, as a model that follows them.
 *
 * @code
 * auto *model = new Ostrel::ApplicationsModel(this);
 * auto *sorted = new QSortFilterProxyModel(model);
 * sorted->setSourceModel(model);
 * sorted->sort(Ostrel::ApplicationsModel::AppIdColumn);
 * QObject::connect(model, &Ostrel::LiveModel::statusChanged, model, [model] {
 *     if (model->status() == Ostrel::LiveModel::Failed) {
 *         qWarning() << model->error().message();
 *     }
 * });
 * @endcode
 *
 * The model lists what runs when it is made, when the service starts, and each time that the
 * service announces a start, an end or another state of an application. Each list is one call of
 * Control::getRunningApplications(), which does not block. One list is under way at a time. Changes
 * that are announced meanwhile are one more list after it. All models of one Control share their
 * lists, whatever they show.
 *
 * A row is an application and its process: it stays as long as the service lists both. Applications
 * that are listed several times with the same process have as many rows.
 *
 * When the service ends, the rows go, and the status is ServiceMissing. When it starts, they come.
 * The model never starts the service.
 *
 * When a list fails, the model keeps its rows, and the status is Failed. It lists again when the
 * service announces a change, when the service restarts, and by refresh(). There is no other
 * attempt. A list fails after the timeout of the Control.
 */
class OSTREL_EXPORT ApplicationsModel : public LiveModel
{
    Q_OBJECT

public:
    /** The columns. Later versions may add some at the end. */
    enum Column {
        /** The identifier of the application. */
        AppIdColumn,
        /** The number of the process. */
        PidColumn,
        /** The state, a number that the service defines. */
        StateColumn,
        /** The kind, a number that the service defines. */
        KindColumn,
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
        /** "pid": the number of the process, an int. */
        PidRole,
        /** "state": the state, a uint. */
        StateRole,
        /** "kind": the kind, a uint. */
        KindRole,
        /**
         * "properties": the further properties, a QVariantMap without D-Bus types, as
         * Control::toPlainValue() returns it.
         */
        PropertiesRole,
        /**
         * "since": when this model first saw the row with its present state, a QDateTime in UTC.
         * The service sends no times, so an application may be older. A change of the system's
         * clock does not change the times of earlier events.
         */
        SinceRole,
    };
    Q_ENUM(Role)

    /**
     * Constructs a model of what Control::instance() lists, and sends the first list.
     *
     * @param parent  the parent.
     */
    explicit ApplicationsModel(QObject *parent = nullptr);

    /**
     * Constructs a model of what @p control lists, and sends the first list.
     *
     * @param control  must belong to the current thread. If it is null or belongs to another
     *                 thread, the status is Failed. If it is destroyed before the model, the rows
     *                 go, and the status is Failed.
     * @param parent   the parent.
     */
    explicit ApplicationsModel(Control *control, QObject *parent = nullptr);

    ~ApplicationsModel() override;

    /**
     * Lists what runs once more, for all models of the same Control; for example, after a failure.
     * Returns at once, and does nothing while the service is missing.
     */
    Q_INVOKABLE void refresh();
};

} // namespace Ostrel

#endif
