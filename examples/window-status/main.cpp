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

    // What is called with the answer to the latest report.
    using Answer = std::function<void(quint32 state, const Ostrel::Error &error)>;
    void onAnswer(Answer answer) { m_onAnswer = std::move(answer); }

private:
    void report(Status status)
    {
        const int number = ++m_reports;
        m_windows.updateWindowStatus(
            m_name, status, m_width, m_height, this,
            [this, number](Ostrel::ApplicationState state, const Ostrel::Error &error) {
                // An answer to an earlier report is out of date.
                if (number == m_reports) {
                    m_onAnswer(state, error);
                }
            });
    }

    QString m_name;
    int m_width = 640;
    int m_height = 480;
    int m_reports = 0;
    Ostrel::WindowManagement m_windows;
    Answer m_onAnswer;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Window window(QStringLiteral("main"));
    window.onAnswer([](quint32 state, const Ostrel::Error &error) {
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
