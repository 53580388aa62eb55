// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "connecting.h"

#include "bus_choice.h"
#include "calls_monitor.h"
#include "display.h"
#include "notice.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QSettings>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtWidgets/QVBoxLayout>

#include <cstdlib>
#include <thread>

namespace
{

QString waitingText(const char *text)
{
    return QCoreApplication::translate("Connecting", text);
}

class ConnectingWindow : public QWidget
{
public:
    explicit ConnectingWindow(QEventLoop &loop)
        : m_loop(loop)
    {
    }

protected:
    void closeEvent(QCloseEvent * /*event*/) override { m_loop.quit(); }

private:
    QEventLoop &m_loop;
};

} // namespace

void connectToBus(const BusChoice &bus, CallsMonitor &monitor)
{
    QEventLoop loop;
    ConnectingWindow window(loop);
    window.setWindowTitle(waitingText("Applications on %1").arg(shown(bus.label())));
    // Where the window will be that shows what runs.
    window.restoreGeometry(QSettings().value(QStringLiteral("geometry")).toByteArray());
    auto *notice = new Notice(waitingText("Quit"));
    notice->setText(waitingText("Connecting to %1.").arg(bus.label()),
                    waitingText("The bus has not replied yet."));
    auto *layout = new QVBoxLayout(&window);
    layout->addWidget(notice);
    layout->addStretch(1);

    bool isConnected = false;
    QObject::connect(notice, &Notice::clicked, &window, &QWidget::close);
    std::thread thread([&] {
        QDBusConnection::sessionBus();
        monitor.reach();
        const auto goOn = [&] {
            isConnected = true;
            loop.quit();
        };
        QMetaObject::invokeMethod(&loop, goOn, Qt::QueuedConnection);
    });
    // Usually, the bus replies before anyone could read this.
    constexpr int milliseconds = 300;
    QTimer::singleShot(milliseconds, &window, &QWidget::show);
    loop.exec();
    if (!isConnected) {
        // Nothing ends the thread, and Qt would wait for it.
        std::_Exit(EXIT_SUCCESS);
    }
    thread.join();
}
