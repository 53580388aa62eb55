// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <dlfcn.h>

// Plugins that use the library come and go. QtDBus goes on knowing what the library has registered
// and the objects that it keeps, so that the library itself has to stay.
class TestUnloading : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void pluginsAreLoadedAndUnloaded();
    void callsOfAnUnloadedPluginFinish();
    void hostNeedNotLinkQt();

private:
    // Loads the plugin, has it use the library, and unloads it.
    static void usePlugin();
    // Has the service send each signal to whoever listens, and lets them arrive.
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
    // Its answer is behind them.
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

// The shared Control hears the signals, and the proxies that the service has another owner.
void TestUnloading::callsOfAnUnloadedPluginFinish()
{
    usePlugin();
    sendSignals();
    m_simulator.end();
    m_simulator.start();
    sendSignals();
    // Qt makes one of its own from the registration.
    const int type = QMetaType::type("QVector<RunningApplication>");
    QVERIFY(type != QMetaType::UnknownType);
    QVariant made(type, nullptr);
    QVERIFY(made.isValid());
    QCOMPARE(made.value<QSequentialIterable>().size(), 0);
    usePlugin();
}

void TestUnloading::hostNeedNotLinkQt()
{
    // QtDBus loses what it is about when the process ends, now and then.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    const Result result = run(BARE_HOST, {TEST_PLUGIN, "5"}, environment);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "4\n4\n4\n4\n4\n");
    QCOMPARE(result.exitStatus, 0);
}

OSTREL_TEST_MAIN(TestUnloading)

#include "tst_unloading.moc"
