// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faults/fault.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusConnection>

// Peers that are not the service send what only the service may send. Nothing of it is accepted.
// What the service sends afterwards is.
class TestForgery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void signalsOfOtherPeersAreDropped_data();
    void signalsOfOtherPeersAreDropped();
    void signalsOfAFormerOwnerAreDropped_data();
    void signalsOfAFormerOwnerAreDropped();
    void repliesOfOtherPeersAreDropped_data();
    void repliesOfOtherPeersAreDropped();
    void repliesBeforeTheCallAreDropped_data();
    void repliesBeforeTheCallAreDropped();
    void forgedSignalsOfTheDaemonAreDropped_data();
    void forgedSignalsOfTheDaemonAreDropped();

private:
    static void addRows(bool (*concerns)(const Operation &));
    void forgeSignals(Peer &peer, const Operation &operation);
    // Returns when the bus has handled everything that the peer has sent.
    static void finish(Peer &peer);
    static QString text(const Rig &rig);
    void works(const Operation &operation);

    std::optional<Rig> m_rig;
    QString m_client;
};

void TestForgery::initTestCase()
{
    // libdbus identifies an answer by its serial number only. On a bus that passes on everything,
    // anyone could answer.
    m_rig.emplace(Rig::WithStrictBus);
    m_client = QDBusConnection::sessionBus().baseService();
}

void TestForgery::init()
{
    m_rig->begin();
}

void TestForgery::addRows(bool (*concerns)(const Operation &))
{
    QTest::addColumn<QString>("name");
    for (const Operation &operation : operations()) {
        if (concerns(operation)) {
            QTest::addRow("%s", qPrintable(operation.name)) << operation.name;
        }
    }
}

static bool isSignal(const Operation &operation)
{
    return operation.isSignal();
}

static bool isCall(const Operation &operation)
{
    return operation.isCall();
}

static bool isAny(const Operation &operation)
{
    return operation.kind != Operation::Local;
}

void TestForgery::forgeSignals(Peer &peer, const Operation &operation)
{
    const QString values = operation.signature + ' ' + operation.values;
    const QString nobody = "''";
    for (const QString &destination : {nobody, m_client}) {
        for (const QString &sender : {nobody, m_rig->service().name(), QString(OSTREL_SERVICE_NAME),
                                      QString("org.freedesktop.DBus")}) {
            peer.order(QString("signal %1 %2 %3 %4 %5 %6")
                           .arg(sender, destination, operation.path, operation.interface,
                                operation.member, values));
        }
    }
    finish(peer);
}

void TestForgery::finish(Peer &peer)
{
    peer.order("own test.Finished");
    peer.order("release test.Finished");
}

QString TestForgery::text(const Rig &rig)
{
    return rig.events().join("; ");
}

// The service is heard, and answers.
void TestForgery::works(const Operation &operation)
{
    m_rig->begin();
    const auto action = operation.prepare(*m_rig);
    arrangeGood(*m_rig, operation);
    action();
    QCOMPARE(text(*m_rig), goodOutcome(operation));
}

void TestForgery::signalsOfOtherPeersAreDropped_data()
{
    addRows(isSignal);
}

void TestForgery::signalsOfOtherPeersAreDropped()
{
    QFETCH(QString, name);
    const Operation &operation = operationNamed(name);
    auto action = operation.prepare(*m_rig);
    Peer stranger(m_rig->bus());
    forgeSignals(stranger, operation);
    action();
    QCOMPARE(text(*m_rig), operation.markerSeen);
    action = nullptr;
    works(operation);
}

void TestForgery::signalsOfAFormerOwnerAreDropped_data()
{
    addRows(isSignal);
}

void TestForgery::signalsOfAFormerOwnerAreDropped()
{
    QFETCH(QString, name);
    const Operation &operation = operationNamed(name);
    auto action = operation.prepare(*m_rig);
    // A peer that once was the service.
    Peer former(m_rig->bus());
    const QString own = "own " OSTREL_SERVICE_NAME;
    const QString release = "release " OSTREL_SERVICE_NAME;
    m_rig->waitForOwner(Rig::Nobody, [this, &release] { m_rig->service().order(release); });
    m_rig->waitForOwner(Rig::Somebody, [&former, &own] { former.order(own); });
    former.order(operation.order(operation.signature + ' ' + operation.values));
    waitUntil([this] { return m_rig->events().size() == 1; });
    QCOMPARE(text(*m_rig), operation.seen);
    m_rig->waitForOwner(Rig::Nobody, [&former, &release] { former.order(release); });
    // There is no owner between two owners.
    forgeSignals(former, operation);
    m_rig->waitForOwner(Rig::Somebody, [this, &own] { m_rig->service().order(own); });
    forgeSignals(former, operation);
    action();
    QCOMPARE(text(*m_rig), goodOutcome(operation));
    action = nullptr;
    works(operation);
}

void TestForgery::repliesOfOtherPeersAreDropped_data()
{
    addRows(isCall);
}

// The forged replies come while the call waits for its answer.
void TestForgery::repliesOfOtherPeersAreDropped()
{
    QFETCH(QString, name);
    const Operation &operation = operationNamed(name);
    auto action = operation.prepare(*m_rig);
    const QString request = operation.name.section(':', -1);
    const QString forged = request == "list" ? "0 0"
        : request == "register"              ? "/forged 0"
        : request.startsWith("start")        ? "forged 0"
        : operation.values.isEmpty()         ? QString()
                                             : "99";
    m_rig->service().on(
        operation.member,
        QString("forge %1 %2 | answer %1 %3").arg(operation.signature, forged, operation.values));
    action();
    m_rig->settle();
    QCOMPARE(text(*m_rig), operation.seen);
    QCOMPARE(m_rig->takeWarnings(), QStringList());
    action = nullptr;
    works(operation);
}

void TestForgery::repliesBeforeTheCallAreDropped_data()
{
    addRows(isCall);
}

// Anyone can guess the next serial numbers of the client.
void TestForgery::repliesBeforeTheCallAreDropped()
{
    QFETCH(QString, name);
    const Operation &operation = operationNamed(name);
    auto action = operation.prepare(*m_rig);
    Peer stranger(m_rig->bus());
    for (int serial = 1; serial <= 1500; ++serial) {
        stranger.order(QString("return '' %1 %2 %3 %4")
                           .arg(m_client)
                           .arg(serial)
                           .arg(operation.signature, operation.values));
        stranger.order(QString("error '' %1 %2 test.Forged s forged").arg(m_client).arg(serial));
    }
    finish(stranger);
    arrangeGood(*m_rig, operation);
    action();
    m_rig->settle();
    QCOMPARE(text(*m_rig), operation.seen);
    action = nullptr;
    works(operation);
}

void TestForgery::forgedSignalsOfTheDaemonAreDropped_data()
{
    addRows(isAny);
}

// The bus would say that the name has another owner, or that the client owns it.
void TestForgery::forgedSignalsOfTheDaemonAreDropped()
{
    QFETCH(QString, name);
    const Operation &operation = operationNamed(name);
    Peer stranger(m_rig->bus());
    const auto forge = [this, &stranger](const QString &member, const QString &values) {
        for (const char *sender : {"''", "org.freedesktop.DBus"}) {
            for (const QString &destination : {QString("''"), m_client}) {
                stranger.order(QString("signal %1 %2 /org/freedesktop/DBus "
                                       "org.freedesktop.DBus %3 %4")
                                   .arg(sender, destination, member, values));
            }
        }
    };
    const auto forgeAll = [this, &stranger, &forge] {
        const QString service = OSTREL_SERVICE_NAME;
        const QString owner = m_rig->service().name();
        forge("NameOwnerChanged", QString("sss %1 %2 %3").arg(service, owner, stranger.name()));
        forge("NameOwnerChanged", QString("sss %1 %2 ''").arg(service, owner));
        forge("NameAcquired", "s " + service);
        forge("NameLost", "s " + m_client);
        finish(stranger);
        m_rig->settle();
    };
    forgeAll();
    {
        const auto action = operation.prepare(*m_rig);
        forgeAll();
        if (operation.isSignal()) {
            forgeSignals(stranger, operation);
        } else {
            arrangeGood(*m_rig, operation);
        }
        action();
        QCOMPARE(text(*m_rig), operation.isSignal() ? operation.markerSeen : operation.seen);
    }
    works(operation);
}

OSTREL_TEST_MAIN(TestForgery)

#include "tst_forgery.moc"
