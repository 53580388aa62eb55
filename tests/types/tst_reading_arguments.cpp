// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "peer.h"
#include "task_texts.h"
#include "warnings.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusMetaType>

#include <optional>

namespace
{

QString json(const QJsonValue &value)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
}

template <typename Target> int readEntriesOf(const QVariant &map)
{
    const auto argument = map.value<QDBusArgument>();
    int count = 0;
    argument.beginMap();
    while (!argument.atEnd()) {
        Target target{};
        argument >> target;
        ++count;
    }
    argument.endMap();
    return count;
}

template <typename... Targets> bool areReadInPlace(const QVariant &value, const QString &signature)
{
    const auto isReadInPlace = [&](auto target) {
        value.value<QDBusArgument>() >> target;
        return value.value<QDBusArgument>().currentSignature() == signature;
    };
    return (isReadInPlace(Targets{}) && ...);
}

} // namespace

// The readers skip entries and empty arguments, are registered with Qt, and do not move copies.
class TestReadingArguments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void entriesOfAMapAreSkipped();
    void emptyArgumentsAreReadAsDefaults();
    void registeredReadersAreTheSame();
    void readingDoesNotAdvanceCopies_data();
    void readingDoesNotAdvanceCopies();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_peer;
};

void TestReadingArguments::initTestCase()
{
    m_bus.emplace();
    m_peer.emplace(*m_bus);
}

// Qt's readers of lists do the same when they read a map.
void TestReadingArguments::entriesOfAMapAreSkipped()
{
    using namespace Ostrel;
    const QVariant map = m_peer->receive("a{sv}", "3 a i 1 b (si) x 3 c v as 0").constFirst();
    const Warnings warnings;
    QCOMPARE(readEntriesOf<QJsonValue>(map), 3);
    QCOMPARE(readEntriesOf<QJsonObject>(map), 3);
    QCOMPARE(readEntriesOf<QJsonArray>(map), 3);
    QCOMPARE(warnings.texts().size(), 9);
    QCOMPARE(warnings.texts().count("Unsupported type:  \"{sv}\""), 9);
    QCOMPARE(readEntriesOf<RunningApplication>(map), 3);
    QCOMPARE(readEntriesOf<RunningService>(map), 3);
    QCOMPARE(readEntriesOf<TaskState>(map), 3);
    QCOMPARE(readEntriesOf<AvailableTask>(map), 3);
    QCOMPARE(readEntriesOf<ActiveTask>(map), 3);
    QCOMPARE(readEntriesOf<QVector<ActiveTask>>(map), 3);
    QCOMPARE(warnings.texts().size(), 9);
}

// After the last value, and in an argument that never held one.
void TestReadingArguments::emptyArgumentsAreReadAsDefaults()
{
    using namespace Ostrel;
    const auto argument = m_peer->receive("(i)", "3").constFirst().value<QDBusArgument>();
    int number = 0;
    argument.beginStructure();
    argument >> number;
    QVERIFY(argument.atEnd());
    for (const QDBusArgument &nothing : {argument, QDBusArgument()}) {
        const Warnings warnings;
        QJsonValue value = "old";
        QJsonObject object{{"old", 1}};
        QJsonArray array{1};
        nothing >> value >> object >> array;
        QCOMPARE(value, QJsonValue("old"));
        QCOMPARE(object.size(), 1);
        QCOMPARE(array.size(), 1);
        const QString refused = "Unsupported type:  \"\"";
        QCOMPARE(warnings.texts(), (QStringList{refused, refused, refused}));

        ActiveTask task{"old", 99, {{"old", 1}}};
        RunningService service{"old", "old", 1, ServiceState(2), {}};
        QVector<ActiveTask> tasks{task};
        nothing >> task >> service >> tasks;
        QCOMPARE(text(task), text(ActiveTask{}));
        QCOMPARE(text(service), text(RunningService{}));
        QVERIFY(tasks.isEmpty());
        QCOMPARE(warnings.texts().size(), 3);
    }
    argument.endStructure();
}

// Typed replies and the parameters of slots are read through the registration.
void TestReadingArguments::registeredReadersAreTheSame()
{
    using namespace Ostrel;
    registerDBusTypes();
    const auto read = [this](const char *signature, const char *words, auto target) {
        // In a structure, because QtDBus makes no arguments of basic types.
        const auto argument = m_peer->receive(QString("(%1)").arg(signature), words)
                                  .constFirst()
                                  .template value<QDBusArgument>();
        argument.beginStructure();
        if (!QDBusMetaType::demarshall(argument, qMetaTypeId<decltype(target)>(), &target)) {
            qFatal("%s is not read", signature);
        }
        argument.endStructure();
        return target;
    };
    QCOMPARE(text(read("(siuua{sv})", "a -1 2 3 1 k s v", RunningApplication{})), "a -1 2 3 {k=v}");
    QCOMPARE(text(read("(ssiua{sv})", "a b -1 2 1 k s v", RunningService{})), "a b -1 2 {k=v}");
    QCOMPARE(text(read("(sua{sv})", "a 1 1 k s v", TaskState{})), "a 1 {k=v}");
    QCOMPARE(text(read("(sa{sv})", "a 1 k s v", AvailableTask{})), "a {k=v}");
    QCOMPARE(text(read("(sia{sv})", "a -1 1 k s v", ActiveTask{})), "a -1 {k=v}");
    QCOMPARE(text(read("a(siuua{sv})", "1 a -1 2 3 0", QVector<RunningApplication>())),
             "a -1 2 3 {}");
    QCOMPARE(text(read("a(ssiua{sv})", "1 a b -1 2 0", QVector<RunningService>())), "a b -1 2 {}");
    QCOMPARE(text(read("a(sua{sv})", "1 a 1 0", QVector<TaskState>())), "a 1 {}");
    QCOMPARE(text(read("a(sa{sv})", "1 a 0", QVector<AvailableTask>())), "a {}");
    QCOMPARE(text(read("a(sia{sv})", "1 a -1 0", QVector<ActiveTask>())), "a -1 {}");
    // Other types as well.
    QCOMPARE(text(read("(ss)", "a b", ActiveTask{})), "a 0 {}");
    QCOMPARE(read("ai", "1 3", QVector<ActiveTask>()).size(), 0);

    QCOMPARE(json(read("(v)", "i 3", QJsonValue(true))), "[true]");
    QCOMPARE(json(read("v", "i 3", QJsonValue())), "[3]");
    QCOMPARE(json(read("a{sv}", "1 k i 3", QJsonObject())), "[{\"k\":3}]");
    QCOMPARE(json(read("av", "1 i 3", QJsonArray())), "[[3]]");
}

void TestReadingArguments::readingDoesNotAdvanceCopies_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("words");
    const auto row = [](const char *signature, const char *words) {
        QTest::newRow(signature) << signature << words;
    };
    row("(si)", "x 3");
    row("(sia{sv})", "x 3 0");
    row("ai", "1 3");
    row("aas", "1 0");
    row("a(sia{sv})", "0");
    row("a{sv}", "1 k i 3");
    row("a{si}", "0");
}

// A value of a signal or a reply can be read several times, as different types.
void TestReadingArguments::readingDoesNotAdvanceCopies()
{
    using namespace Ostrel;
    QFETCH(QString, signature);
    QFETCH(QString, words);
    const QVariant value = m_peer->receive(signature, words).constFirst();
    const Warnings warnings;
    QVERIFY((areReadInPlace<QJsonValue, QJsonObject, QJsonArray>(value, signature)));
    QVERIFY(
        (areReadInPlace<RunningApplication, RunningService, TaskState, AvailableTask, ActiveTask>(
            value, signature)));
    QVERIFY(
        (areReadInPlace<QVector<RunningApplication>, QVector<RunningService>, QVector<TaskState>,
                        QVector<AvailableTask>, QVector<ActiveTask>>(value, signature)));
}

OSTREL_TEST_MAIN(TestReadingArguments)

#include "tst_reading_arguments.moc"
