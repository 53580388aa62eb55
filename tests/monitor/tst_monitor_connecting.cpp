// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "calls_monitor.h"
#include "connecting.h"
#include "monitor_test.h"
#include "notice.h"

#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtWidgets/QPushButton>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// A bus that accepts connections and never replies.
class SilentBus
{
public:
    SilentBus()
    {
        const QByteArray path = m_folder.filePath("bus").toLocal8Bit();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
        m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
            || ::listen(m_socket, 10) != 0) {
            qFatal("cannot listen at %s", path.constData());
        }
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    }
    ~SilentBus() { end(); }

    // Those who wait notice it.
    void end()
    {
        if (m_socket >= 0) {
            ::close(m_socket);
            m_socket = -1;
        }
    }

private:
    Q_DISABLE_COPY(SilentBus)

    QTemporaryDir m_folder;
    int m_socket = -1;
};

// The window while the bus does not reply.
class TestMonitorConnecting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void windowCanBeClosedMeanwhile();
    void windowSaysThatTheBusHasNotReplied(); // Connects the process.
};

namespace
{

const Notice *visibleNotice()
{
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        const auto *notice = window->findChild<Notice *>();
        if (notice != nullptr && notice->isVisible()) {
            return notice;
        }
    }
    return nullptr;
}

// Connects to a silent bus, and acts when the window is there.
void connectAnd(const std::function<void(SilentBus &, const Notice &)> &act)
{
    SilentBus bus;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&] {
        if (const Notice *notice = visibleNotice()) {
            look.stop();
            act(bus, *notice);
        }
    });
    look.start(1);
    CallsMonitor monitor;
    connectToBus(BusChoice(), monitor);
    QVERIFY(!monitor.open());
}

} // namespace

void TestMonitorConnecting::windowCanBeClosedMeanwhile()
{
    for (const QString how : {"--close", "--quit"}) {
        Process program(QCoreApplication::applicationFilePath(), {how});
        program.start();
        QCOMPARE(program.waitForEnd(), 0);
    }
}

void TestMonitorConnecting::windowSaysThatTheBusHasNotReplied()
{
    QString text;
    connectAnd([&](SilentBus &bus, const Notice &notice) {
        text = notice.text();
        bus.end();
    });
    QCOMPARE(text, QString("Connecting to the session bus.\nThe bus has not replied yet."));
    QVERIFY(!QDBusConnection::sessionBus().isConnected());
    QVERIFY(visibleNotice() == nullptr);
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Ostrel::Testing::isolate();
    const QApplication application(argc, argv);
    const QString how = QCoreApplication::arguments().value(1);
    if (how == "--close" || how == "--quit") {
        connectAnd([&how](SilentBus & /*bus*/, const Notice &notice) {
            if (how == "--close") {
                notice.window()->close();
            } else {
                notice.findChild<QPushButton *>()->click();
            }
        });
        return 1;
    }
    TestMonitorConnecting test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_monitor_connecting.moc"
