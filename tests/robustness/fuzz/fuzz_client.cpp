// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"
#include "scripted_service.h"

#include "DBus/names_p.h"
#include "Ostrel/control.h"
#include "Ostrel/debug_params.h"
#include "Ostrel/task_invoker.h"
#include "Ostrel/window_management.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Programs use the library with a service that answers each call with any message, and sends any
// message as its signals. Nothing may crash or hang the caller, leak, or be reported as a success
// that it is not.

namespace
{

constexpr const char *fuzzedType = "fuzzed";
constexpr const char *sessionPath = OSTREL_TASK_INVOKER_SESSIONS_PATH "fuzzed";
constexpr const char *marker = "the marker comes last";

std::vector<std::string> propertyNames()
{
    return {"ActiveTasks", "AvailableTasks", "Other"};
}

MessagePointer returnOf(DBusMessage *call)
{
    return MessagePointer(dbus_message_new_method_return(call));
}

MessagePointer signal(const char *path, const char *interface, const char *member)
{
    return MessagePointer(dbus_message_new_signal(path, interface, member));
}

void append(DBusMessage *message, const char *text)
{
    dbus_message_append_args(message, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
}

void appendPath(DBusMessage *message, const char *path)
{
    dbus_message_append_args(message, DBUS_TYPE_OBJECT_PATH, &path, DBUS_TYPE_INVALID);
}

// What the service answered.
struct Answer
{
    bool isError = false;
    std::string signature;

    bool has(const std::string &types) const
    {
        return !isError && signature.compare(0, types.size(), types) == 0;
    }
};

ScriptedService &service()
{
    static auto *service = new ScriptedService;
    return *service;
}

void idle()
{
    service().setScript([](DBusMessage *call) {
        std::vector<MessagePointer> messages;
        messages.push_back(returnOf(call));
        return messages;
    });
}

// The parts of a successful answer that do not come from the bytes.
struct Form
{
    // An answer of one kind begins like this.
    std::function<void(DBusMessage *message, Bytes &bytes)> begin;
    // How many values must come from the bytes at least.
    int minimum = 0;
};

// Makes the call. The service answers it as the bytes say.
Answer answerTo(Bytes &bytes, const std::function<void()> &call, const Form &form = {})
{
    static const std::array<const char *, 4> errors{OSTREL_ERROR_PREFIX "AppNotFound",
                                                    DBUS_ERROR_FAILED, DBUS_ERROR_NO_REPLY, "a.b"};
    Answer answer;
    service().setScript([&](DBusMessage *received) {
        const int kind = bytes.takeCount();
        answer.isError = kind == 1;
        MessagePointer message = answer.isError
            ? MessagePointer(dbus_message_new_error(
                received, errors.at(std::size_t(bytes.takeCount()) % errors.size()), nullptr))
            : returnOf(received);
        if (form.begin && kind == 0) {
            form.begin(message.get(), bytes);
        }
        takeArguments(bytes, message.get(), answer.isError ? 0 : form.minimum);
        answer.signature = dbus_message_get_signature(message.get());
        std::vector<MessagePointer> messages;
        messages.push_back(std::move(message));
        return messages;
    });
    call();
    idle(); // the answer has been written by then
    return answer;
}

void terminate(Bytes &bytes)
{
    Ostrel::Error error;
    const Answer answer =
        answerTo(bytes, [&error] { error = Ostrel::Control::instance()->terminate("a"); });
    require(bool(error) == answer.isError, "an error is one, and everything else is success");
}

void start(Bytes &bytes, bool isDebug)
{
    Ostrel::Control::StartResult result;
    const Answer answer = answerTo(bytes, [&result, isDebug] {
        auto *control = Ostrel::Control::instance();
        result = isDebug ? control->startDebug("a", Ostrel::DebugParams()) : control->start("a");
    });
    require(bool(result.error) != answer.has("sa{sv}"), "only the right answer is success");
    require(!result.error || (result.appInstanceId.isEmpty() && result.details.isEmpty()),
            "a failure has no result");
}

void listRunning(Bytes &bytes)
{
    Ostrel::Error error;
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    // A debug build aborts if there are fewer than two values.
    const Answer answer = answerTo(bytes,
                                   [&] {
                                       error = Ostrel::Control::instance()->getRunningApplications(
                                           applications, services);
                                   },
                                   {{}, 2});
    require(bool(error) == answer.isError, "an error is one, and everything else is success");
    require(!error || (applications.isEmpty() && services.isEmpty()), "a failure has no result");
}

// Runs the event loop until a call has been answered, and a little longer: a second answer would
// have come by then.
class Waiter
{
public:
    void done()
    {
        ++m_count;
        m_loop.quit();
    }

    void wait()
    {
        if (m_count == 0) {
            m_loop.exec();
        }
        QCoreApplication::processEvents();
        require(m_count == 1, "there is one answer to a call");
    }

private:
    QEventLoop m_loop;
    int m_count = 0;
};

void registerInvoker(Bytes &bytes)
{
    std::optional<Ostrel::TaskInvoker> invoker;
    Ostrel::Error error;
    Waiter waiter;
    const auto makeInvoker = [&] {
        invoker.emplace(Ostrel::TaskInvoker::SessionBus, QString::fromUtf8(fuzzedType));
        invoker->onReady([&](const Ostrel::Error &result) {
            error = result;
            waiter.done();
        });
        waiter.wait();
    };
    const Answer answer = answerTo(bytes, makeInvoker,
                                   {[](DBusMessage *message, Bytes &rest) {
                                        appendPath(message, sessionPath);
                                        takeProperties(rest, message, propertyNames());
                                    },
                                    0});
    require(error || answer.has("oa{sv}"), "only the right answer is success");
    require(!error || (invoker->activeTasks().isEmpty() && invoker->availableTasks().isEmpty()),
            "a failure has no tasks");
}

// An invoker that is ready.
class Invoker : public Ostrel::TaskInvoker
{
public:
    Invoker()
        : TaskInvoker(SessionBus, QString::fromUtf8(fuzzedType))
    {
        Waiter waiter;
        onReady([&waiter](const Ostrel::Error & /*error*/) { waiter.done(); });
        waiter.wait();
    }
};

Ostrel::TaskInvoker &invoker()
{
    static Ostrel::TaskInvoker *invoker = nullptr;
    if (invoker == nullptr) {
        service().setScript([](DBusMessage *call) {
            std::vector<MessagePointer> messages;
            messages.push_back(returnOf(call));
            appendPath(messages.back().get(), sessionPath);
            Bytes none(nullptr, 0);
            takeProperties(none, messages.back().get(), propertyNames());
            return messages;
        });
        invoker = new Invoker;
        idle();
    }
    return *invoker;
}

void startTask(Bytes &bytes)
{
    invoker();
    Ostrel::Error error;
    int number = 0;
    Waiter waiter;
    const Answer answer = answerTo(bytes, [&] {
        invoker().start("a", Ostrel::TaskInvoker::StartupInfo(), Ostrel::TaskInvoker::Hints(),
                        [&](int started, const Ostrel::Error &result) {
                            number = started;
                            error = result;
                            waiter.done();
                        });
        waiter.wait();
    });
    require(bool(error) != answer.has("i"), "only the right answer is success");
}

void stopTask(Bytes &bytes)
{
    invoker();
    Ostrel::Error error;
    Waiter waiter;
    const Answer answer = answerTo(bytes, [&] {
        invoker().stop("a", [&](const Ostrel::Error &result) {
            error = result;
            waiter.done();
        });
        waiter.wait();
    });
    require(bool(error) == answer.isError, "an error is one, and everything else is success");
}

void updateWindow(Bytes &bytes)
{
    static Ostrel::WindowManagement windows;
    Ostrel::Error error;
    Waiter waiter;
    const Answer answer = answerTo(bytes, [&] {
        windows.updateWindowStatus("a", 0, 0, 0, &windows,
                                   [&](Ostrel::ApplicationState, const Ostrel::Error &result) {
                                       error = result;
                                       waiter.done();
                                   });
        waiter.wait();
    });
    require(bool(error) != answer.has("u"), "only the right answer is success");
}

// Makes the service send a signal from the bytes. Returns when everything that follows from it has
// happened: a later signal has arrived.
Answer hear(Bytes &bytes, const char *path, const char *interface, const char *member,
            const Form &form)
{
    Answer sent;
    service().setScript([&](DBusMessage *call) {
        MessagePointer message = signal(path, interface, member);
        if (form.begin && bytes.takeCount() == 0) {
            form.begin(message.get(), bytes);
        }
        takeArguments(bytes, message.get());
        sent.signature = dbus_message_get_signature(message.get());
        std::vector<MessagePointer> messages;
        messages.push_back(std::move(message));
        messages.push_back(signal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "SelectedByOom"));
        append(messages.back().get(), marker);
        messages.push_back(returnOf(call));
        return messages;
    });
    Waiter markerCame;
    const QObject context;
    QObject::connect(Ostrel::Control::instance(), &Ostrel::Control::selectedByOom, &context,
                     [&markerCame](const QString &instance) {
                         if (instance == marker) {
                             markerCame.done();
                         }
                     });
    require(!Ostrel::Control::instance()->terminate(QString()), "the signals have been sent");
    markerCame.wait();
    idle();
    return sent;
}

void changeProperties(Bytes &bytes)
{
    int changes = 0;
    const QObject context;
    const auto count = [&changes] { ++changes; };
    QObject::connect(&invoker(), &Ostrel::TaskInvoker::activeTasksChanged, &context, count);
    QObject::connect(&invoker(), &Ostrel::TaskInvoker::availableTasksChanged, &context, count);
    const Answer sent =
        hear(bytes, sessionPath, DBUS_INTERFACE_PROPERTIES, "PropertiesChanged",
             {[](DBusMessage *message, Bytes &rest) {
                  append(message, OSTREL_TASK_INVOKER_SESSION_INTERFACE);
                  takeProperties(rest, message, propertyNames());
                  std::array<const char *, 1> invalidated{"Other"};
                  const char *const *names = invalidated.data();
                  dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &names, 1,
                                           DBUS_TYPE_INVALID);
              },
              0});
    require(changes == 0 || sent.signature == "sa{sv}as",
            "only the right signal changes the lists");
}

void hearControl(Bytes &bytes)
{
    struct Kind
    {
        const char *member;
        const char *types;
    };
    static constexpr std::array<Kind, 4> kinds{{{"Started", "sa{sv}"},
                                                {"StateChanged", "sa{sv}"},
                                                {"Terminated", "sa{sv}"},
                                                {"SelectedByOom", "s"}}};
    const Kind kind = kinds.at(std::size_t(bytes.takeCount()) % kinds.size());

    int count = 0;
    const QObject context;
    auto *control = Ostrel::Control::instance();
    const auto heard = [&count] { ++count; };
    QObject::connect(control, &Ostrel::Control::started, &context, heard);
    QObject::connect(control, &Ostrel::Control::stateChanged, &context, heard);
    QObject::connect(control, &Ostrel::Control::terminated, &context, heard);
    QObject::connect(control, &Ostrel::Control::selectedByOom, &context, heard);
    const Answer sent = hear(bytes, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, kind.member,
                             {[&kind](DBusMessage *message, Bytes &rest) {
                                  append(message, "a");
                                  if (kind.types[1] != '\0') {
                                      takeProperties(rest, message, {"State", "Other"});
                                  }
                              },
                              0});
    --count; // the marker
    const bool isRight = sent.signature == kind.types;
    require(count == 0 || (count == 1 && isRight), "only the right signal is heard");
    // A change without a state emits nothing.
    require(count == 1 || !isRight || kind.member == kinds[1].member, "the right signal is heard");
}

void run(Bytes &bytes)
{
    using Step = void (*)(Bytes &);
    static constexpr std::array<Step, 10> steps{
        terminate,
        [](Bytes &rest) { start(rest, false); },
        [](Bytes &rest) { start(rest, true); },
        listRunning,
        startTask,
        stopTask,
        updateWindow,
        registerInvoker,
        changeProperties,
        hearControl,
    };
    steps.at(std::size_t(bytes.takeCount()) % steps.size())(bytes);
}

// Qt drops signals that come right after it has learnt who owns the name.
void awaitOwner()
{
    bool came = false;
    const QObject context;
    QObject::connect(Ostrel::Control::instance(), &Ostrel::Control::selectedByOom, &context,
                     [&came] { came = true; });
    service().setScript([](DBusMessage *call) {
        std::vector<MessagePointer> messages;
        messages.push_back(signal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "SelectedByOom"));
        append(messages.back().get(), marker);
        messages.push_back(returnOf(call));
        return messages;
    });
    while (!came) {
        require(!Ostrel::Control::instance()->terminate(QString()), "the signal has been sent");
        QCoreApplication::processEvents();
    }
    idle();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const bool isPrepared = [] {
        prepareProcess({"Unsupported type:  \"", "QDBusSignature: invalid signature \"\"",
                        "Unexpected object path:", "TaskInvoker registration failed:"});
        service();
        awaitOwner();
        return true;
    }();
    Bytes bytes(data, size);
    if (isPrepared) {
        run(bytes);
    }
    return 0;
}
