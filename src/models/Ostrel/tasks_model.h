// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TASKS_MODEL_H
#define OSTREL_TASKS_MODEL_H

#include <Ostrel/live_model.h>

namespace Ostrel
{

class TaskInvoker;

/**
 * The tasks of one type, those that can be started and those that are running, as a model that
 * follows a TaskInvoker.
 *
 * @code
 * auto *invoker = new Ostrel::TaskInvoker(Ostrel::TaskInvoker::SessionBus,
 *                                         QStringLiteral("sync"), this);
 * auto *model = new Ostrel::TasksModel(invoker, this);
 * QObject::connect(model, &QAbstractItemModel::rowsInserted, this, [model] {
 *     qInfo() << model->index(0, Ostrel::TasksModel::NameColumn).data().toString();
 * });
 * @endcode
 *
 * The program makes the invoker, because that registers the program for the type. The model sends
 * nothing to the service. Make it together with its invoker: what the bus has announced before, the
 * model cannot know.
 *
 * A task has one row, whether it is available, active or both. If a list has a name several times,
 * the name has as many rows; the rows of the two lists then meet in their order.
 *
 * The status follows the invoker:
 * - Loading: there is no invoker, or the service has not replied to its registration.
 * - Ready: the invoker is registered.
 * - ServiceMissing: the service has ended, or did not run when the invoker registered. There are no
 *   rows.
 * - Failed: the registration has failed for another reason, error() says which. Or the service has
 *   restarted, and does not know the invoker; there are no rows. Or the invoker has been destroyed;
 *   there are no rows.
 *
 * An invoker registers once. When serviceStarted() says that a service runs that does not know it,
 * make another invoker, and set it with setInvoker().
 */
class OSTREL_EXPORT TasksModel : public LiveModel
{
    Q_OBJECT

public:
    /** The columns. Later versions may add some at the end. */
    enum Column {
        /** The name of the task. */
        NameColumn,
        /** Whether the task can be started. */
        AvailableColumn,
        /** Whether the task is running. */
        ActiveColumn,
        /** The number of the running instance. */
        PidColumn,
        /** The properties in the list of available tasks, as JSON. */
        AvailablePropertiesColumn,
        /** The properties in the list of active tasks, as JSON. */
        ActivePropertiesColumn,
    };
    Q_ENUM(Column)

    /** The roles. */
    enum Role {
        /** "name": the name of the task, a QString. */
        NameRole = Qt::UserRole,
        /** "available": whether the task is in the list of available tasks, a bool. */
        AvailableRole,
        /** "active": whether the task is in the list of active tasks, a bool. */
        ActiveRole,
        /** "pid": the number of the running instance, an int; 0 if the task is not active. */
        PidRole,
        /**
         * "availableProperties": the properties in the list of available tasks, a QVariantMap
         * without D-Bus types, as Control::toPlainValue() returns it; empty if the task is not
         * available.
         */
        AvailablePropertiesRole,
        /**
         * "activeProperties": the same of the list of active tasks; empty if the task is not
         * active.
         */
        ActivePropertiesRole,
    };
    Q_ENUM(Role)

    /**
     * Constructs a model without an invoker.
     *
     * @param parent  the parent.
     */
    explicit TasksModel(QObject *parent = nullptr);

    /**
     * Constructs a model with an invoker.
     *
     * @param invoker  as for setInvoker().
     * @param parent   the parent.
     */
    explicit TasksModel(TaskInvoker *invoker, QObject *parent = nullptr);

    ~TasksModel() override;

    /** Returns the invoker; null if there is none, and after it has been destroyed. */
    TaskInvoker *invoker() const;

    /**
     * Follows another invoker. Tasks of the same name keep their rows.
     *
     * Subscribes to the owner of the service's name on the invoker's bus. Makes no other bus call.
     *
     * @param invoker  must belong to the thread of the model, and stays the caller's. It may be
     *                 null: then the rows go, and the status is Loading.
     */
    void setInvoker(TaskInvoker *invoker);

Q_SIGNALS:
    /**
     * Emitted when the service has started after the invoker registered, or tried to. The service
     * does not know the invoker, and the status is Failed. A slot may set another invoker, and
     * delete this one.
     */
    void serviceStarted();
};

} // namespace Ostrel

#endif
