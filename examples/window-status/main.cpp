// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A window that reports each change of its status, and learns the state of its application.

#include <Ostrel/WindowManagement>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

namespace
{

class Window : public QObject
{
public:
    // The service of the device defines the numbers, and what the two further ones mean.
    enum Status {
        Hidden = 1,
        Shown = 2,
    };

    explicit Window(const QString &name)
        : m_name(name)
    {
    }

    void show() { report(Shown); }
    void hide() { report(Hidden); }

    // Called with the reply to the latest report. Without a service or a message bus, this is an
    // error.
    using Reply = std::function<void(quint32 state, const Ostrel::Error &error)>;
    void onReply(Reply reply) { m_onReply = std::move(reply); }

private:
    void report(Status status)
    {
        const int number = ++m_reports;
        m_windows.updateWindowStatus(
            m_name, status, m_width, m_height, this,
            [this, number](Ostrel::ApplicationState state, const Ostrel::Error &error) {
                // A reply to an earlier report is out of date.
                if (number == m_reports) {
                    m_onReply(state, error);
                }
            });
    }

    QString m_name;
    int m_width = 640;
    int m_height = 480;
    int m_reports = 0;
    Ostrel::WindowManagement m_windows;
    Reply m_onReply;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Window window(QStringLiteral("main"));
    window.onReply([](quint32 state, const Ostrel::Error &error) {
        if (error) {
            QTextStream(stderr) << "cannot report: " << error.message() << '\n';
            QCoreApplication::exit(EXIT_FAILURE);
        } else {
            QTextStream(stdout) << "state " << state << '\n';
            QCoreApplication::quit();
        }
    });
    window.show();
    window.hide();
    window.show();
    return QCoreApplication::exec();
}
