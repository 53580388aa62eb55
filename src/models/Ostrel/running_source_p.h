// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_RUNNING_SOURCE_P_H
#define OSTREL_RUNNING_SOURCE_P_H

#include <Ostrel/Control>

#include <QtCore/QPointer>

#include <functional>

namespace Ostrel
{

// Lists what runs, each time that something has changed, for all models of one Control. One list is
// under way at a time. Whatever changes meanwhile is one more list after it.
//
// It is a child of the Control. The models hold it alive no longer than that.
class RunningSource : public QObject
{
    Q_OBJECT

public:
    // Returns the source of a Control, which lives in the current thread.
    static RunningSource *of(Control *control);

    bool isServiceAvailable() const
    {
        return !m_control.isNull() && m_control->isServiceAvailable();
    }

    // Lists as long as there are users. A new user gets a list that is sent, or has been sent,
    // after its connections were made.
    void addUser();
    void removeUser();

    // Lists, or lists once more.
    void refresh();

Q_SIGNALS:
    // While slots of these run, nothing else is emitted, whatever the slots do.
    void listing();
    void listed(const QVector<Ostrel::RunningApplication> &applications,
                const QVector<Ostrel::RunningService> &services);
    void failed(const Ostrel::Error &error);
    void serviceEnded();

private:
    explicit RunningSource(Control *control);

    void onServiceChanged();
    // Runs what emits, and then does what has become due meanwhile.
    void work(const std::function<void()> &emitFirst = nullptr);
    void list();

    // It goes before its children.
    const QPointer<Control> m_control;
    int m_users = 0;
    bool m_isDue = false;
    bool m_isUnderWay = false;
    bool m_serviceHasChanged = false;
    bool m_isWorking = false;
    int m_call = 0;
};

} // namespace Ostrel

#endif
