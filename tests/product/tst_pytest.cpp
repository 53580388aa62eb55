// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "process_handle.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

namespace
{

const QString example = SOURCE_DIR "/examples/pytest/";

QProcessEnvironment environment()
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    result.insert("PATH",
                  QFileInfo(OSTRELCTL).path() + ':' + QFileInfo(SIMULATOR).path() + ':'
                      + result.value("PATH"));
    // No files in the source tree.
    result.insert("PYTHONDONTWRITEBYTECODE", "1");
    return result;
}

} // namespace

// The example in Python.
class TestPytest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void testsPass();
    void testLeavesTheUserAloneAndNoProcessBehind();

private:
    QString m_pytest;
};

void TestPytest::initTestCase()
{
    for (const char *name : {"pytest-3", "pytest"}) {
        if (m_pytest.isEmpty()) {
            m_pytest = QStandardPaths::findExecutable(name);
        }
    }
    if (m_pytest.isEmpty()) {
        QSKIP("pytest is missing: install python3-pytest");
    }
}

void TestPytest::testsPass()
{
    const Result result = run(m_pytest, {"-p", "no:cacheprovider", example}, environment());
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

// Also if pytest is killed.
void TestPytest::testLeavesTheUserAloneAndNoProcessBehind()
{
    const QTemporaryDir folder;
    for (const char *file : {"conftest.py", "bus.conf"}) {
        QVERIFY(QFile::copy(example + file, folder.filePath(file)));
    }
    writeFile(folder.filePath("nothing.json"), "{}");
    writeFile(folder.filePath("test_that_hangs.py"), R"(
import os, sys

def test_hangs(simulator):
    simulator("nothing.json")
    for name in ("HOME", "TMPDIR", "XDG_RUNTIME_DIR"):
        assert os.environ[name] != os.environ["HOME_OF_USER"]
    for name in ("XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"):
        assert name not in os.environ
    print("\nbus", os.environ["DBUS_SESSION_BUS_ADDRESS"], flush=True)
    sys.stdin.read()
)");
    QProcessEnvironment users = environment();
    for (const char *name :
         {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        users.insert(name, folder.path());
    }
    users.insert("HOME_OF_USER", QDir::homePath());
    Process pytest(m_pytest, {"-s", "-p", "no:cacheprovider", folder.path()});
    pytest.setProcessEnvironment(users);
    pytest.start();
    QString line;
    while (!line.startsWith("bus ")) {
        line = pytest.readLine();
    }
    QDBusConnection bus = QDBusConnection::connectToBus(line.section(' ', 1), "pytest");
    QVERIFY(bus.isConnected());
    const ProcessHandle daemon(pid_t(bus.interface()->servicePid("org.freedesktop.DBus").value()));
    const ProcessHandle simulator(pid_t(bus.interface()->servicePid(OSTREL_SERVICE_NAME).value()));
    QVERIFY(daemon.exists() && simulator.exists());
    pytest.kill();
    pytest.waitForEnd();
    waitUntil([&] { return !daemon.exists() && !simulator.exists(); });
}

OSTREL_TEST_MAIN(TestPytest)

#include "tst_pytest.moc"
