// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Starts an application from a thread of its own, so that the event loop of the main thread goes on
// while the service is slow. A window would live in the main thread, and stay responsive.

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QThread>
#include <QtCore/QTimer>

#include <cstdio>
#include <cstdlib>
#include <optional>

// Lives in the thread that may wait.
class Launcher : public QObject
{
    Q_OBJECT

public:
    // To be called in the launcher's thread. A Control belongs to the thread that makes it.
    void start(const QString &appId)
    {
        if (!m_control) {
            m_control.emplace();
        }
        const Ostrel::Control::StartResult result = m_control->start(appId);
        if (result.error) {
            Q_EMIT failed(result.error.message());
        } else {
            Q_EMIT started(result.appInstanceId);
        }
    }

Q_SIGNALS:
    void started(const QString &appInstanceId);
    void failed(const QString &message);

private:
    std::optional<Ostrel::Control> m_control;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        err << "Usage: responsive APPLICATION\n";
        return EXIT_FAILURE;
    }

    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&out] { out << "tick" << Qt::endl; });
    timer.start(100);

    QThread thread;
    auto *const launcher = new Launcher;
    launcher->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, launcher, &QObject::deleteLater);
    QObject::connect(launcher, &Launcher::started, &timer, [&out](const QString &appInstanceId) {
        out << "started as " << appInstanceId << Qt::endl;
        QCoreApplication::quit();
    });
    QObject::connect(launcher, &Launcher::failed, &timer, [&err](const QString &message) {
        err << "cannot start: " << message << Qt::endl;
        QCoreApplication::exit(EXIT_FAILURE);
    });
    thread.start();
    QMetaObject::invokeMethod(launcher,
                              [launcher, appId = arguments.at(1)] { launcher->start(appId); });

    const int status = QCoreApplication::exec();
    // This waits for a request that is under way.
    thread.quit();
    thread.wait();
    return status;
}

#include "main.moc"
