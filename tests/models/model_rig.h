// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_MODEL_RIG_H
#define TESTS_MODEL_RIG_H

#include "kit.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/LiveModel>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QMetaEnum>
#include <QtDBus/QDBusConnectionInterface>
#include <QtTest/QAbstractItemModelTester>

#include <memory>
#include <utility>

// The values of a row, each as JSON would have it, without the time.
inline QString rowText(const Ostrel::LiveModel &model, int row)
{
    QStringList values;
    for (int column = 0; column < model.columnCount(); ++column) {
        const QVariant value = model.index(row, column).data();
        if (value.userType() != QMetaType::QDateTime) {
            values.append(value.toString());
        }
    }
    return values.join(' ');
}

inline QStringList rowTexts(const Ostrel::LiveModel &model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        rows.append(rowText(model, row));
    }
    return rows;
}

// Checks a model at every signal, and writes down what it emits.
class ModelEvents
{
public:
    explicit ModelEvents(Ostrel::LiveModel *model)
        : m_tester(model, QAbstractItemModelTester::FailureReportingMode::Fatal)
    {
        using Model = Ostrel::LiveModel;
        const auto rows = [this](const char *what) {
            return [this, what](const QModelIndex & /*parent*/, int first, int last) {
                add(QString("%1 %2-%3").arg(what).arg(first).arg(last));
            };
        };
        QObject::connect(model, &Model::rowsInserted, model, rows("inserted"));
        QObject::connect(model, &Model::rowsRemoved, model, rows("removed"));
        QObject::connect(model, &Model::modelReset, model, [this] { add("reset"); });
        QObject::connect(model, &Model::dataChanged, model,
                         [this, model](const QModelIndex &first, const QModelIndex &last,
                                       const QVector<int> &roles) {
                             QStringList names;
                             for (const int role : roles) {
                                 names.append(role == Qt::DisplayRole
                                                  ? "display"
                                                  : model->roleNames().value(role));
                             }
                             add(QString("changed %1,%2-%3,%4 %5")
                                     .arg(first.row())
                                     .arg(first.column())
                                     .arg(last.row())
                                     .arg(last.column())
                                     .arg(names.join(' ')));
                         });
        QObject::connect(model, &Model::countChanged, model,
                         [this, model] { add(QString("count %1").arg(model->count())); });
        QObject::connect(model, &Model::statusChanged, model, [this, model] {
            const char *name = QMetaEnum::fromType<Model::Status>().valueToKey(model->status());
            add((name + (' ' + model->error().message())).trimmed());
        });
    }

    // What has been emitted since the last call.
    QStringList taken() { return std::exchange(m_all, {}); }
    const QStringList &all() const { return m_all; }

private:
    void add(const QString &event) { m_all.append(event); }

    QAbstractItemModelTester m_tester;
    QStringList m_all;
};

// A private bus with the simulator, and the lists that it returns.
class ModelRig
{
public:
    using Applications = QVector<Ostrel::RunningApplication>;
    using Services = QVector<Ostrel::RunningService>;

    ModelRig()
        : m_simulator(m_bus)
    {
        m_simulator.start();
    }

    PrivateBus &bus() { return m_bus; }
    Simulator &simulator() { return m_simulator; }
    const Simulator &simulator() const { return m_simulator; }
    Faults lists() const
    {
        return m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications");
    }

    static Ostrel::RunningApplication application(const QString &id, int pid, uint state = 1,
                                                  uint kind = 1, const QVariantMap &properties = {})
    {
        return {id, pid, Ostrel::ApplicationState(state), Ostrel::ApplicationKind(kind),
                properties};
    }
    static Ostrel::RunningService service(const QString &id, const QString &name, int pid,
                                          uint state = 1, const QVariantMap &properties = {})
    {
        return {id, name, pid, Ostrel::ServiceState(state), properties};
    }

    // Has the next list be this. There must have been a Control.
    void nextList(const Applications &applications, const Services &services = {}) const
    {
        lists().answerNext({QVariant::fromValue(applications), QVariant::fromValue(services)});
    }

    // Has the service say that something has changed.
    void announce(const QString &signal = "Started") const
    {
        m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, signal,
                               {"any", QVariantMap{{"State", 1}}});
    }

    // The number of lists that the simulator was asked for.
    int listCalls() const
    {
        int count = 0;
        const QVector<Call> calls = m_simulator.calls();
        for (const Call &call : calls) {
            count += int(call.member == "GetRunningApplications");
        }
        return count;
    }

    // Returns when everything that was sent before has been answered.
    static void roundTrip(Ostrel::Control &control)
    {
        const auto answered = std::make_shared<bool>(false);
        control.terminate("marker", &control,
                          [answered](const Ostrel::Error &) { *answered = true; });
        waitUntil([&answered] { return *answered; });
    }

    // Returns when the connection has delivered everything that the bus has announced before. It
    // delivers nothing before the event loop runs for the first time.
    static void settle()
    {
        QCoreApplication::processEvents();
        QDBusConnection::sessionBus().interface()->isServiceRegistered("a.b");
        QCoreApplication::processEvents();
    }

    static void waitFor(const Ostrel::LiveModel &model, Ostrel::LiveModel::Status status)
    {
        waitUntil([&] { return model.status() == status; });
    }

private:
    PrivateBus m_bus;
    Simulator m_simulator;
};

#endif
