// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "run.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <dlfcn.h>

// Plugins that use the library are loaded and unloaded. QtDBus keeps what the library registered,
// and some of its objects, so the library must stay loaded.
class TestUnloading : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void pluginsAreLoadedAndUnloaded();
    void callsOfAnUnloadedPluginFinish();
    void hostNeedNotLinkQt();

private:
    // Loads the plugin, uses the library through it, and unloads it.
    static void usePlugin();
    // Makes the service send each signal, and waits until they have arrived.
    void sendSignals() const;
};

namespace
{

bool isLoaded(const char *file)
{
    void *loaded = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
    if (loaded != nullptr) {
        dlclose(loaded);
    }
    return loaded != nullptr;
}

} // namespace

void TestUnloading::usePlugin()
{
    void *plugin = dlopen(TEST_PLUGIN, RTLD_NOW);
    QVERIFY2(plugin != nullptr, dlerror());
    const auto use = reinterpret_cast<int (*)()>(dlsym(plugin, "useLibrary"));
    QVERIFY(use != nullptr);
    QCOMPARE(use(), 4);
    QCOMPARE(dlclose(plugin), 0);
    QVERIFY(!isLoaded(TEST_PLUGIN));
    QVERIFY(isLoaded(LIBRARY));
}

void TestUnloading::sendSignals() const
{
    const QVariantMap details{{"State", 3U}};
    for (const char *member : {"Started", "Terminated", "StateChanged"}) {
        m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member,
                               {"id", details});
    }
    // This is answered after them.
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH, "org.freedesktop.DBus.Peer", "Ping"));
    QCoreApplication::processEvents();
}

void TestUnloading::pluginsAreLoadedAndUnloaded()
{
    const Warnings warnings;
    QVERIFY(!isLoaded(LIBRARY));
    for (int i = 0; i < 10; ++i) {
        usePlugin();
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    QCOMPARE(warnings.texts(), QStringList());
}

// The shared Control receives the signals. The proxies notice the service's new owner.
void TestUnloading::callsOfAnUnloadedPluginFinish()
{
    usePlugin();
    sendSignals();
    m_simulator.end();
    m_simulator.start();
    sendSignals();
    // Qt creates a value from the registration.
    const int type = QMetaType::type("QVector<RunningApplication>");
    QVERIFY(type != QMetaType::UnknownType);
    QVariant made(type, nullptr);
    QVERIFY(made.isValid());
    QCOMPARE(made.value<QSequentialIterable>().size(), 0);
    usePlugin();
}

void TestUnloading::hostNeedNotLinkQt()
{
    // When a process ends, QtDBus sometimes leaks what it is doing.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    const Result result = run(BARE_HOST, {TEST_PLUGIN, "5"}, environment);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "4\n4\n4\n4\n4\n");
    QCOMPARE(result.exitStatus, 0);
}

OSTREL_TEST_MAIN(TestUnloading)

#include "tst_unloading.moc"
