// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "outcomes.h"
#include "quiet_test.h"
#include "run.h"
#include "task_invokers.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QMap>
#include <QtCore/QXmlStreamReader>

using Ostrel::TaskInvoker;

namespace
{

// The arguments of a method, in and out, as "name:type" in order.
struct Method
{
    QStringList in;
    QStringList out;
    QString inSignature;
    QString outSignature;

    bool operator==(const Method &other) const { return in == other.in && out == other.out; }
};

using Methods = QMap<QString, Method>;

struct Interface
{
    Methods methods;
    QMap<QString, QStringList> signalArguments;

    bool operator==(const Interface &other) const
    {
        return methods == other.methods && signalArguments == other.signalArguments;
    }
};

// Returns the interfaces in the XML.
QMap<QString, Interface> interfacesIn(const QString &xml)
{
    QMap<QString, Interface> interfaces;
    QString interface;
    QString method; // empty in a signal
    QString signal;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString name = attributes.value("name").toString();
        const QString type = attributes.value("type").toString();
        if (reader.name() == "interface") {
            interface = name;
            interfaces.insert(interface, {});
        } else if (reader.name() == "method") {
            method = name;
            interfaces[interface].methods.insert(method, {});
        } else if (reader.name() == "signal") {
            method.clear();
            signal = name;
            interfaces[interface].signalArguments.insert(signal, {});
        } else if (reader.name() == "arg" && method.isEmpty()) {
            interfaces[interface].signalArguments[signal].append(name + ':' + type);
        } else if (reader.name() == "arg") {
            Method &current = interfaces[interface].methods[method];
            const bool in = attributes.value("direction") == "in";
            (in ? current.in : current.out).append(name + ':' + type);
            (in ? current.inSignature : current.outSignature) += type;
        }
    }
    if (reader.hasError()) {
        qFatal("bad XML: %s", qPrintable(reader.errorString()));
    }
    return interfaces;
}

QMap<QString, Interface> interfacesInFile(const QString &interface)
{
    return interfacesIn(readFile(QString(INTERFACES_DIR "/%1.xml").arg(interface)));
}

// Returns a value of each type, in busctl's form. The string is the name of an existing task.
QStringList someValues(QString signature)
{
    QStringList values;
    signature.replace("a{sv}", "m");
    for (const QChar type : qAsConst(signature)) {
        values.append(type == 's' ? "contacts" : type == 'm' ? "0" : "1");
    }
    return values;
}

// Adds the library's interfaces and the paths where the service has them.
void addInterfaces()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::newRow("TaskInvoker1") << OSTREL_TASK_INVOKER_PATH << OSTREL_TASK_INVOKER_INTERFACE;
    QTest::newRow("TaskInvokerSession1")
        << sessionPath("sync") << OSTREL_TASK_INVOKER_SESSION_INTERFACE;
    QTest::newRow("WindowManagement1")
        << OSTREL_WINDOW_MANAGEMENT_PATH << OSTREL_WINDOW_MANAGEMENT_INTERFACE;
}

} // namespace

// The descriptions in the tree match what the simulator exports and does, and what the library
// sends.
class TestInterfaces : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void simulatorExportsTheDescriptions_data();
    void simulatorExportsTheDescriptions();
    void simulatorRepliesWithTheDescribedTypes_data();
    void simulatorRepliesWithTheDescribedTypes();
    void simulatorHasEveryMethodOfTheDesk();
    void librarySendsTheDescribedTypes();
    void propertiesHaveTheDescribedTypes();

private:
    Result busctl(const QStringList &arguments) const;
};

// Creates a session that can be introspected.
void TestInterfaces::init()
{
    QuietTest::init();
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
}

Result TestInterfaces::busctl(const QStringList &arguments) const
{
    return ::busctl(m_bus, arguments);
}

void TestInterfaces::simulatorExportsTheDescriptions_data()
{
    addInterfaces();
    QTest::newRow("Control1") << OSTREL_CONTROL_PATH << OSTREL_CONTROL_INTERFACE;
    QTest::newRow("Simulator1") << OSTREL_SIMULATOR_PATH << OSTREL_SIMULATOR_INTERFACE;
}

void TestInterfaces::simulatorExportsTheDescriptions()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    const auto described = interfacesInFile(interface);
    QCOMPARE(described.keys(), QStringList(interface));
    QVERIFY(!described.value(interface).methods.isEmpty());

    const Result exported = busctl({"introspect", "--xml-interface", OSTREL_SERVICE_NAME, path});
    QCOMPARE(exported.exitStatus, 0);
    QVERIFY(interfacesIn(exported.output).value(interface) == described.value(interface));

    // Clients find it from the service's path.
    const Result parent =
        busctl({"introspect", "--xml-interface", OSTREL_SERVICE_NAME, path.section('/', 0, -2)});
    QVERIFY(parent.output.contains(QString("<node name=\"%1\"/>").arg(path.section('/', -1))));
}

void TestInterfaces::simulatorRepliesWithTheDescribedTypes_data()
{
    addInterfaces();
}

void TestInterfaces::simulatorRepliesWithTheDescribedTypes()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    const Methods methods = interfacesInFile(interface).value(interface).methods;
    for (auto method = methods.cbegin(); method != methods.cend(); ++method) {
        const Result answer = busctl(QStringList{"call", OSTREL_SERVICE_NAME, path, interface,
                                                 method.key(), method->inSignature}
                                     + someValues(method->inSignature));
        QVERIFY2(answer.exitStatus == 0, qPrintable(answer.errors));
        QCOMPARE(answer.output.section(' ', 0, 0).trimmed(), method->outSignature);
    }
}

// Each method of the desk exists: it refuses other arguments than described, and says what it
// takes.
void TestInterfaces::simulatorHasEveryMethodOfTheDesk()
{
    const QString interface = OSTREL_SIMULATOR_INTERFACE;
    const Methods methods = interfacesInFile(interface).value(interface).methods;
    QCOMPARE(methods.size(), 20);
    for (auto method = methods.cbegin(); method != methods.cend(); ++method) {
        const QDBusMessage wrong = m_simulator.desk(method.key(), {true});
        QCOMPARE(wrong.errorMessage(),
                 QString("%1 takes \"%2\", not \"b\"").arg(method.key(), method->inSignature));
        if (method.key() == "WaitForScenario") {
            QCOMPARE(m_simulator.desk(method.key()).errorMessage(),
                     "The simulator has no scenario");
        } else if (method->inSignature.isEmpty()) {
            QCOMPARE(m_simulator.desk(method.key()).signature(), method->outSignature);
        } else {
            QVERIFY(method->out.isEmpty());
        }
    }
}

void TestInterfaces::librarySendsTheDescribedTypes()
{
    m_simulator.reset();
    reportWindow();
    Events events;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    invoker.start("contacts", {}, {}, events.started());
    invoker.stop("contacts", events.stopped());
    events.waitFor(2);
    const QVector<Call> calls = m_simulator.calls();

    QMap<QString, QStringList> sent;
    for (const Call &call : calls) {
        const Methods methods = interfacesInFile(call.interface).value(call.interface).methods;
        QCOMPARE(call.signature, methods.value(call.member).inSignature);
        sent[call.interface].append(call.member);
    }
    // The library calls every method that is described.
    for (const char *interface :
         {OSTREL_TASK_INVOKER_INTERFACE, OSTREL_TASK_INVOKER_SESSION_INTERFACE,
          OSTREL_WINDOW_MANAGEMENT_INTERFACE}) {
        QCOMPARE(sent.value(interface),
                 QStringList(interfacesInFile(interface).value(interface).methods.keys()));
    }
}

void TestInterfaces::propertiesHaveTheDescribedTypes()
{
    const QString xml = readFile(INTERFACES_DIR "/" OSTREL_TASK_INVOKER_SESSION_INTERFACE ".xml");
    int properties = 0;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == "property") {
            const QXmlStreamAttributes attributes = reader.attributes();
            const Result read = busctl({"get-property", OSTREL_SERVICE_NAME, sessionPath("sync"),
                                        OSTREL_TASK_INVOKER_SESSION_INTERFACE,
                                        attributes.value("name").toString()});
            QCOMPARE(read.output.section(' ', 0, 0), attributes.value("type").toString());
            QCOMPARE(attributes.value("access").toString(), "read");
            ++properties;
        }
    }
    QCOMPARE(properties, 2);
}

OSTREL_TEST_MAIN(TestInterfaces)

#include "tst_interfaces.moc"
