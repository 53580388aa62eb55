// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_OTHER_THREAD_H
#define TESTS_OTHER_THREAD_H

#include <QtCore/QPointer>
#include <QtCore/QThread>

// A thread that runs an event loop, with an object in it.
class OtherThread
{
public:
    OtherThread()
    {
        m_object->moveToThread(&m_thread);
        m_thread.start();
    }

    ~OtherThread()
    {
        destroyObject();
        end();
    }

    QObject *object() const { return m_object; }
    QThread *thread() { return &m_thread; }

    // Destroys the object in its thread, and returns when that has happened.
    void destroyObject()
    {
        if (!m_object.isNull() && m_thread.isRunning()) {
            QMetaObject::invokeMethod(
                m_object.data(), [this] { delete m_object.data(); }, Qt::BlockingQueuedConnection);
        }
    }

    // Ends the thread. The object stays.
    void end()
    {
        m_thread.quit();
        m_thread.wait();
    }

private:
    Q_DISABLE_COPY(OtherThread)

    QThread m_thread;
    const QPointer<QObject> m_object = new QObject;
};

#endif
