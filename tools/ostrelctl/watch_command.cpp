// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "advice.h"
#include "command.h"
#include "command_line.h"
#include "events.h"
#include "json.h"
#include "report.h"
#include "session_bus.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QTextStream>
#include <QtDBus/QDBusConnection>

#include <cstdio>

namespace
{

// Prints the events of a Control, one line each, as they come.
class Watch : public QObject
{
    Q_OBJECT

public:
    Watch(const Ostrel::Control &control, bool asJson)
        : m_asJson(asJson)
    {
        using Ostrel::Control;
        connect(&control, &Control::started, this, &Watch::onStarted);
        connect(&control, &Control::terminated, this, &Watch::onTerminated);
        connect(&control, &Control::stateChanged, this, &Watch::onStateChanged);
        connect(&control, &Control::selectedByOom, this, &Watch::onSelectedByOom);
        connect(&control, &Control::serviceAvailableChanged, this,
                &Watch::onServiceAvailableChanged);
    }

private:
    void onStarted(const QString &appInstanceId, const QVariantMap &details) const
    {
        print(QStringLiteral("started"), appInstanceId, details);
    }

    void onTerminated(const QString &appInstanceId, const QVariantMap &details) const
    {
        print(QStringLiteral("terminated"), appInstanceId, details);
    }

    void onStateChanged(const QString &appInstanceId, quint32 state) const
    {
        printEvent(m_asJson, QStringLiteral("stateChanged"),
                   {{QStringLiteral("appInstanceId"), appInstanceId},
                    {QStringLiteral("state"), static_cast<qint64>(state)}},
                   QStringLiteral("%1 %2").arg(appInstanceId).arg(state));
    }

    void onSelectedByOom(const QString &processId) const
    {
        printEvent(m_asJson, QStringLiteral("selectedByOom"),
                   {{QStringLiteral("processId"), processId}}, processId);
    }

    void onServiceAvailableChanged(bool available) const
    {
        // The end of the bus is reported as such.
        if (QDBusConnection::sessionBus().isConnected()) {
            printService(m_asJson, available);
        }
    }

    void print(const QString &event, const QString &appInstanceId, const QVariantMap &details) const
    {
        const QJsonObject object = toJson(details);
        printEvent(
            m_asJson, event,
            {{QStringLiteral("appInstanceId"), appInstanceId}, {QStringLiteral("details"), object}},
            QStringLiteral("%1 %2").arg(
                appInstanceId,
                QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))));
    }

    bool m_asJson;
};

int runWatch(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("watch"),
        QStringLiteral("Prints a line for each event in the life of applications, with the time, "
                       "until Ctrl-C.\nIt waits for a service that does not run, and says when the "
                       "service comes and goes.\nIt fails when the message bus ends."));
    line.addJsonFlag(QStringLiteral("each event as a JSON object on a line"));
    return line.run(arguments, [&line]() -> Result<int> {
        const SessionBus sessionBus;
        const Ostrel::Control control;
        const QDBusConnection bus = QDBusConnection::sessionBus();
        const UntilInterrupted untilInterrupted(bus, line.wantsJson());
        if (!bus.isConnected()) {
            return conclude(Ostrel::Error(Ostrel::Error::Failed,
                                          QStringLiteral("Not connected to D-Bus server")),
                            line.wantsJson(), {});
        }
        const Watch watch(control, line.wantsJson());
        QTextStream(stderr) << "watching the applications; Ctrl-C ends it\n";
        // The end of the bus is reported as such.
        if (!control.isServiceAvailable() && bus.isConnected()) {
            printService(line.wantsJson(), false);
            printHint(adviceOn(Ostrel::Error(Ostrel::Error::Failed, QString()),
                               QDBusConnection::SessionBus));
        }
        return QCoreApplication::exec();
    });
}

} // namespace

Command watchCommand()
{
    return {QStringLiteral("watch"), QStringLiteral("Follow the life of applications"), runWatch};
}

#include "watch_command.moc"
