// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "peer.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusPendingCallWatcher>

#include <memory>
#include <optional>

using Ostrel::Control;

namespace
{

const QString take = "take " OSTREL_SERVICE_NAME;
const QString release = "release " OSTREL_SERVICE_NAME;

} // namespace

// Whether a Control sees that the service runs.
class TestServiceAvailable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void nameIsThatOfTheService();
    void absentServiceIsNotAvailable();
    void serviceComesAndGoes();
    void restartIsReportedAsGoneAndBack();
    void newOwnerIsReportedAsGoneAndBack();
    void deletedControlLeavesTheOthersConnected();
    void slotMayDeleteTheControl_data();
    void slotMayDeleteTheControl();
    void slotMayRunAnEventLoop();
    // The connection does not come back.
    void serviceIsNotAvailableAfterTheEndOfTheBus();

private:
    using Changes = QVector<bool>;

    // Returns when the bus has delivered everything that was sent before.
    static void settle();
    // Collects the signals, and checks that the Control says the same when it is asked.
    static std::shared_ptr<Changes> changesOf(const Control &control);

    std::optional<PrivateBus> m_bus;
};

void TestServiceAvailable::initTestCase()
{
    m_bus.emplace();
    // Until the event loop has run once, QtDBus delivers no signals.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestServiceAvailable::settle()
{
    const QDBusPendingCallWatcher reply(
        QDBusConnection::sessionBus().asyncCall(QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId")));
    bool replied = false;
    connect(&reply, &QDBusPendingCallWatcher::finished, &reply, [&replied] { replied = true; });
    waitUntil([&replied] { return replied; });
}

std::shared_ptr<TestServiceAvailable::Changes> TestServiceAvailable::changesOf(
    const Control &control)
{
    auto changes = std::make_shared<Changes>();
    connect(&control, &Control::serviceAvailableChanged, &control,
            [changes, &control](bool available) {
                QCOMPARE(control.isServiceAvailable(), available);
                changes->append(available);
            });
    return changes;
}

void TestServiceAvailable::nameIsThatOfTheService()
{
    QCOMPARE(Control::serviceName(), OSTREL_SERVICE_NAME);
}

void TestServiceAvailable::absentServiceIsNotAvailable()
{
    const Control control;
    QVERIFY(!control.isServiceAvailable());
    // Another name is not the service's.
    Peer other(*m_bus);
    const auto changes = changesOf(control);
    other.order("own test.Other");
    settle();
    QVERIFY(!control.isServiceAvailable());
    QCOMPARE(*changes, Changes());
}

void TestServiceAvailable::serviceComesAndGoes()
{
    const Control early;
    const auto changes = changesOf(early);
    Peer service(*m_bus);
    service.order(take);
    settle();
    QCOMPARE(*changes, Changes{true});

    const Control late;
    QVERIFY(late.isServiceAvailable());
    const auto lateChanges = changesOf(late);
    // The bus notices this some time later.
    service.kill();
    waitUntil([&] { return changes->size() == 2 && lateChanges->size() == 1; });
    QCOMPARE(*changes, (Changes{true, false}));
    QCOMPARE(*lateChanges, Changes{false});
    QVERIFY(!late.isServiceAvailable());
}

void TestServiceAvailable::restartIsReportedAsGoneAndBack()
{
    Simulator simulator(*m_bus);
    simulator.start();
    const Control control;
    const auto changes = changesOf(control);
    // Both changes wait for the event loop.
    simulator.end();
    simulator.start();
    QVERIFY(control.isServiceAvailable());
    settle();
    QCOMPARE(*changes, (Changes{false, true}));
    simulator.end();
    waitUntil([&changes] { return changes->size() == 3; });
    QCOMPARE(*changes, (Changes{false, true, false}));
}

// The bus announces this as one change.
void TestServiceAvailable::newOwnerIsReportedAsGoneAndBack()
{
    Peer first(*m_bus);
    first.order(take);
    const Control control;
    const auto changes = changesOf(control);
    Peer second(*m_bus);
    second.order(take);
    settle();
    QCOMPARE(*changes, (Changes{false, true}));
    // The first peer waits for the name, and gets it back.
    second.order(release);
    settle();
    QCOMPARE(*changes, (Changes{false, true, false, true}));
    QVERIFY(control.isServiceAvailable());
    first.order(release);
    settle();
}

void TestServiceAvailable::deletedControlLeavesTheOthersConnected()
{
    const auto shortLived = std::make_unique<Control>();
    const Control control;
    const auto changes = changesOf(control);
    QVERIFY(!shortLived->isServiceAvailable());
    Peer service(*m_bus);
    service.order(take);
    settle();
    service.order(release);
    settle();
    QCOMPARE(*changes, (Changes{true, false}));
}

void TestServiceAvailable::slotMayDeleteTheControl_data()
{
    QTest::addColumn<QString>("firstBefore");
    QTest::addColumn<QString>("firstAfter");
    QTest::addColumn<QString>("secondAfter");
    QTest::addColumn<int>("deletedAt");
    QTest::addColumn<int>("emitted");
    const QString nothing = "forget";
    QTest::newRow("when the service comes") << nothing << take << nothing << 1 << 1;
    QTest::newRow("when it goes") << take << release << nothing << 0 << 1;
    QTest::newRow("when it goes for another") << take << nothing << take << 0 << 1;
    QTest::newRow("when another comes") << take << nothing << take << 1 << 2;
}

void TestServiceAvailable::slotMayDeleteTheControl()
{
    QFETCH(const QString, firstBefore);
    QFETCH(const QString, firstAfter);
    QFETCH(const QString, secondAfter);
    QFETCH(const int, deletedAt);
    QFETCH(const int, emitted);
    Peer first(*m_bus);
    first.order(firstBefore);
    auto control = std::make_unique<Control>();
    int count = 0;
    connect(control.get(), &Control::serviceAvailableChanged, this, [&](bool available) {
        ++count;
        if (int(available) == deletedAt) {
            control.reset();
        }
    });
    first.order(firstAfter);
    Peer second(*m_bus);
    second.order(secondAfter);
    settle();
    QCOMPARE(count, emitted);
    QVERIFY(!control);
    first.order(release);
    second.order(release);
    settle();
}

// A change that arrives in the slot is not followed by an outdated one.
void TestServiceAvailable::slotMayRunAnEventLoop()
{
    Peer first(*m_bus);
    first.order(take);
    const Control control;
    const auto changes = changesOf(control);
    Peer second(*m_bus);
    second.order(take);
    first.order(release);
    connect(&control, &Control::serviceAvailableChanged, this, [&](bool available) {
        if (!available) {
            second.order(release);
            settle();
        }
    });
    settle();
    QCOMPARE(*changes, Changes{false});
    QVERIFY(!control.isServiceAvailable());
}

void TestServiceAvailable::serviceIsNotAvailableAfterTheEndOfTheBus()
{
    Peer service(*m_bus);
    service.order(take);
    const Control control;
    const auto changes = changesOf(control);
    QVERIFY(control.isServiceAvailable());
    m_bus->end();
    waitUntil([&changes] { return !changes->isEmpty(); });
    QCOMPARE(*changes, Changes{false});
    QVERIFY(!control.isServiceAvailable());
    QVERIFY(!Control().isServiceAvailable());
}

OSTREL_TEST_MAIN(TestServiceAvailable)

#include "tst_service_available.moc"
