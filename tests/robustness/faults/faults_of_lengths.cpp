// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Strings, paths and maps of the largest allowed length, and longer ones.

namespace
{

const QString sessions = OSTREL_TASK_INVOKER_SESSIONS_PATH;

const QChar letter = 'x';
constexpr int maximumMessage = 128 << 20;
constexpr int maximumArray = 64 << 20;
// The bytes of a map's only entry, besides the string with the key "key", and besides the key of an
// array of bytes: lengths, types, padding and nulls.
constexpr int entryOfText = 4 + 4 + 3 + 1 + 4 + 1;
constexpr int entryOfByte = 4 + 1 + 3 + 1;
constexpr int longestType = 32 << 20;
// Room for the header of a message.
constexpr int head = 4096;

bool callOf(const Operation &operation)
{
    return operation.isCall();
}

// The bus needs about a second to pass on the largest messages. So each is tried with one
// operation, and with all of them only in the long form.
Fault mostly(const char *operation, Fault fault)
{
    fault.isLarge = true;
    if (!qEnvironmentVariableIsSet("OSTREL_LONG_TESTS")) {
        fault.concerns = [name = operation](const Operation &other) { return other.name == name; };
    }
    return fault;
}

// Whether the operation is a call with a string. The registration has the task type instead.
bool takesText(const Operation &operation)
{
    return operation.isCall() && operation.request() != "list" && operation.request() != "register";
}

// The string is created when it is used, because some are large.
Fault argument(const QString &label, const std::function<QString()> &text)
{
    Fault fault{label};
    fault.concerns = takesText;
    fault.before = [text](Rig &rig, const Operation & /*operation*/) { rig.argument = text(); };
    fault.arrange = arrangeGood;
    fault.expected = goodOutcome;
    return fault;
}

std::function<QString()> letters(int size)
{
    return [size] { return QString(size, letter); };
}

std::vector<Fault> arguments()
{
    constexpr int longest = maximumMessage - head;
    Fault refused = argument("an argument that no message holds", letters(longest + 1));
    refused.isLarge = true;
    refused.arrange = {};
    refused.expected = [](const Operation &operation) {
        return operation.seenFailure(
            {1, QString(),
             QString("Marshalling failed: a text of %1 bytes is too large for a message")
                 .arg(longest + 1)});
    };
    return {
        argument("an empty argument", [] { return QString(); }),
        argument("an argument with U+0000", [] { return QString("a") + QChar(0); }),
        argument("an argument with half a character", [] { return QString(QChar(0xd800)); }),
        argument("an argument of 255 bytes", letters(255)),
        // The task type and the maps need some room, too.
        mostly("terminate", argument("the longest argument", letters(longest - 1024))),
        refused,
    };
}

// Strings that come with the answer or the signal. %1 stands for one of the given length, %2 for
// one of two that are half as long.
struct Incoming
{
    QString values;
    QString seen;
};

const QMap<QString, Incoming> &places()
{
    const Incoming answer{"sa{sv} @%1 0", "0 <x*%1> {}"};
    static const QMap<QString, Incoming> all{
        {"start", answer},
        {"startDebug", answer},
        {"terminate", {"s @%1", "0"}},
        {"list",
         {"a(siuua{sv})a(ssiua{sv}) 1 @%2 7 1 2 0 1 @%2 s 8 4 0",
          "0 [x*%2 7 1 2 {}] [x*%2 s 8 4 {}]"}},
        {"register",
         {"oa{sv} /@%1 0",
          "ready 1 \"Wrong TaskInvoker path\"; "
          "warning: Unexpected object path: \"/x*%1\""}},
        {"taskStart", {"is 42 @%1", "started 42: 0"}},
        {"taskStop", {"s @%1", "stopped 0"}},
        {"window", {"us 2 @%1", "state 2: 0"}},
        {"started", {"sa{sv} @%1 0", "started x*%1 {}"}},
        {"terminated", {"sa{sv} @%1 0", "terminated x*%1 {}"}},
        {"stateChanged", {"sa{sv} @%1 1 State i 7", "state x*%1 7"}},
        {"selectedByOom", {"s @%1", "oom x*%1"}},
        {"activeTasks",
         {"sa{sv}as @%2 1 ActiveTasks a(sia{sv}) 1 @%2 5 0 0", "active [x*%2 5 {}]"}},
        {"availableTasks",
         {"sa{sv}as @%2 1 AvailableTasks a(sa{sv}) 1 @%2 0 0", "available [x*%2 {}]"}},
    };
    return all;
}

Fault incoming(const QString &label, int size)
{
    const auto sized = [size](QString text) {
        return text.replace("%1", QString::number(size)).replace("%2", QString::number(size / 2));
    };
    Fault fault{label};
    fault.concerns = [](const Operation &operation) {
        return places().contains(operation.request());
    };
    fault.arrange = [sized](Rig &rig, const Operation &operation) {
        const QString values = sized(places().value(operation.request()).values);
        if (operation.isCall()) {
            rig.service().on(operation.member, "answer " + values);
        } else {
            rig.service().order(operation.order(values));
        }
    };
    fault.expected = [sized](const Operation &operation) {
        const QString seen = sized(places().value(operation.request()).seen);
        return operation.isSignal() ? seen + "; " + operation.markerSeen : seen;
    };
    return fault;
}

Fault failing(const QString &label, int size)
{
    Fault fault{label};
    fault.concerns = callOf;
    fault.arrange = [size](Rig &rig, const Operation &operation) {
        rig.service().on(operation.member,
                         QString("fail " OSTREL_ERROR_PREFIX "HandlerFailed s @%1").arg(size));
    };
    fault.expected = [size](const Operation &operation) {
        return operation.seenFailure(
            {3, OSTREL_ERROR_PREFIX "HandlerFailed", QString("x*%1").arg(size)});
    };
    return fault;
}

// An invoker whose type has a long name, so the path of its session is long, too.
Fault longType(const QString &label, int size)
{
    Fault fault{label};
    fault.concerns = [](const Operation &operation) {
        return operation.path.startsWith(sessions) || operation.request() == "register";
    };
    fault.before = [size](Rig &rig, const Operation & /*operation*/) {
        rig.taskType = QString(size, letter);
    };
    fault.arrange = [size](Rig &rig, const Operation &operation) {
        Operation ofType = operation;
        const QString session = QString("%1@%2").arg(sessions).arg(size);
        if (operation.request() == "register") {
            ofType.values.replace(sessions + "sync", session);
        } else {
            ofType.path = session;
            // Its answer comes after the signal.
            arrangeGood(rig, operationNamed("taskStop"));
        }
        arrangeGood(rig, ofType);
    };
    fault.expected = [size](const Operation &operation) {
        // A match rule may have 1,024 bytes, including the type.
        return operation.isSignal() && size > 800 ? "stopped 0" : goodOutcome(operation);
    };
    return fault;
}

Fault tooLongType(int size)
{
    Fault fault = longType("a task type that no path holds", size);
    fault.isLarge = true;
    fault.arrange = {};
    fault.expected = [size](const Operation &operation) {
        const Operation &stopping = operationNamed("taskStop");
        return (operation.isSignal() ? stopping : operation)
            .seenFailure(
                {1, "org.freedesktop.DBus.Error.Failed",
                 QString("Marshalling failed: a text of %1 bytes is too large for a message")
                     .arg(sessions.size() + size)});
    };
    return fault;
}

// A map of one entry instead of the parameters of a program or task. It is also created when it is
// used.
Fault parameters(const QString &label, const std::function<QVariantMap()> &map)
{
    Fault fault = argument(label, {});
    fault.concerns = [](const Operation &operation) {
        return operation.request() == "startDebug" || operation.request() == "taskStart";
    };
    fault.before = [map](Rig &rig, const Operation & /*operation*/) { rig.parameters = map(); };
    return fault;
}

std::vector<Fault> largestMaps()
{
    const int longestValue = maximumArray - entryOfText;
    const int longestKey = maximumArray - entryOfByte;
    const auto value = [](int size) {
        return [size] { return QVariantMap{{"key", QString(size, letter)}}; };
    };
    const auto key = [](int size) {
        return [size] {
            return QVariantMap{{QString(size, letter), QVariant::fromValue(uchar(1))}};
        };
    };
    const auto refused = [](Fault fault, const QString &keyed, const char *type) {
        fault.isLarge = true;
        fault.arrange = {};
        fault.expected = [keyed, type](const Operation &operation) {
            return operation.seenFailure(
                {1, QString(),
                 QString("Marshalling failed: \"%1\" is too large for a message, with a "
                         "value of type %2")
                     .arg(keyed, type)});
        };
        return fault;
    };
    return {
        mostly("taskStart", parameters("the longest text in a map", value(longestValue))),
        refused(parameters("a text that no map holds", value(longestValue + 1)), "key", "QString"),
        mostly("startDebug", parameters("the longest key of a map", key(longestKey))),
        refused(parameters("a key that no map holds", key(longestKey + 1)),
                QString("x*%1").arg(longestKey + 1), "uchar"),
    };
}

// More than libdbus reads before anything has been handled.
Fault flood()
{
    Fault fault{"80 MB of signals while nobody listens"};
    fault.concerns = [](const Operation &operation) {
        return operation.request() == "selectedByOom";
    };
    fault.arrange = [](Rig &rig, const Operation &operation) {
        for (int i = 0; i < 800; ++i) {
            rig.service().order(operation.order("s @100000"));
        }
    };
    fault.expected = [](const Operation &operation) {
        return QString("oom x*100000; ").repeated(800) + operation.markerSeen;
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsOfLengths()
{
    const int longest = maximumMessage - head;
    const int size = 1 << 20;
    std::vector<Fault> faults = arguments();
    for (const Fault &fault : largestMaps()) {
        faults.push_back(fault);
    }
    for (const Fault &fault : {
             argument("an argument of 1 MiB", letters(size)),
             incoming("a text of 1 MiB from the service", size),
             mostly("start", incoming("the longest text from the service", longest)),
             failing("an error with a message of 1 MiB", size),
             mostly("window", failing("an error with the longest message", longest)),
             flood(),
             longType("a task type of 255 bytes", 255),
             longType("a task type of 800 bytes", 800),
             longType("a task type of 1024 bytes", 1024),
             longType("a task type of 1 MiB", size),
             mostly("register", longType("the longest task type", longestType)),
             tooLongType(longestType + 1),
         }) {
        faults.push_back(fault);
    }
    return faults;
}
