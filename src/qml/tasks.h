// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_QML_TASKS_H
#define OSTREL_QML_TASKS_H

#include <Ostrel/TaskInvoker>
#include <Ostrel/TasksModel>

#include <QtQml/QQmlParserStatus>

namespace Ostrel
{

// The tasks of a type. QML cannot make a TaskInvoker, so this one does: when its type is known,
// when type or bus change, and when the service has started again.
class Tasks : public TasksModel, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QString type READ type WRITE setType NOTIFY typeChanged)
    Q_PROPERTY(Bus bus READ bus WRITE setBus NOTIFY busChanged)

public:
    enum Bus {
        SessionBus = TaskInvoker::SessionBus,
        SystemBus = TaskInvoker::SystemBus,
    };
    Q_ENUM(Bus)

    explicit Tasks(QObject *parent = nullptr);

    QString type() const { return m_type; }
    void setType(const QString &type);
    Bus bus() const { return m_bus; }
    void setBus(Bus bus);

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void typeChanged();
    void busChanged();

private:
    void makeInvoker();

    QString m_type;
    Bus m_bus = SessionBus;
    bool m_isComplete = false;
    // Its calls may be under way.
    TaskInvoker *m_previous = nullptr;
};

} // namespace Ostrel

#endif
