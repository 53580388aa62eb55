// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/service.h"
#include "bus_advice.h"
#include "faultdesk/simulator1.h"
#include "interfaces/control1.h"
#include "interfaces/task_invoker1.h"
#include "interfaces/window_management1.h"
#include "options.h"
#include "print.h"
#include "programs/catalogue.h"
#include "programs/children.h"
#include "programs/root_fs.h"
#include "termination.h"

#include "DBus/names_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{

QDBusConnection connectTo(const Options &options)
{
    const QString name = QStringLiteral("ostrel-simulator");
    switch (options.bus) {
    case Options::Bus::System:
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    case Options::Bus::Address:
        // The programs that it runs find the service on their session bus.
        qputenv("DBUS_SESSION_BUS_ADDRESS", options.address.toLocal8Bit());
        return QDBusConnection::connectToBus(options.address, name);
    case Options::Bus::Session:
        break;
    }
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

QString label(const Options &options)
{
    switch (options.bus) {
    case Options::Bus::System:
        return QStringLiteral("system bus");
    case Options::Bus::Address:
        return QStringLiteral("bus at %1").arg(options.address);
    case Options::Bus::Session:
        break;
    }
    return QStringLiteral("session bus");
}

// What the user can do about the error before it.
void printHint(const QString &hint)
{
    QTextStream(stderr) << "hint: " << hint << '\n';
}

// Ends the program when the bus goes away.
class BusWatch : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onDisconnected()
    {
        print(stderr, QStringLiteral("the bus went away"));
        QCoreApplication::exit(EXIT_FAILURE);
    }
};

int serve(QDBusConnection bus, const QString &busLabel, const QString &rootFs,
          const Catalogue &catalogue, Children &children)
{
    const QString serviceName = QStringLiteral(OSTREL_SERVICE_NAME);

    const Termination termination;
    QObject::connect(&termination, &Termination::requested, QCoreApplication::instance(),
                     &QCoreApplication::quit);
    BusWatch watch;
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                &watch, SLOT(onDisconnected()));

    Service service(bus);
    auto windowManagement = std::make_unique<WindowManagement1>();
    auto control = std::make_unique<Control1>(service, catalogue, children);
    auto desk = std::make_unique<Simulator1>(
        service, Simulator1::Parts{*windowManagement, *control, children});
    service.add(std::move(control));
    service.add(std::move(windowManagement));
    service.add(std::make_unique<TaskInvoker1>(service, catalogue, children));
    service.add(std::move(desk));

    // The name comes last, when everything is in place.
    if (!bus.registerVirtualObject(QStringLiteral(OSTREL_SERVICE_PATH), &service,
                                   QDBusConnection::SubPath)) {
        print(stderr, QStringLiteral("cannot serve the path " OSTREL_SERVICE_PATH));
        return EXIT_FAILURE;
    }
    const auto owned =
        bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!owned.isValid()) {
        print(
            stderr,
            QStringLiteral("cannot own the name %1: %2").arg(serviceName, owned.error().message()));
        if (owned.error().type() == QDBusError::AccessDenied) {
            printHint(QStringLiteral(
                "ostrel-simulator(1) says how to allow it on the system bus; or open a shell whose "
                "system bus is a private one: dbus-run-session -- "
                "sh -c 'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS bash'"));
        }
        return EXIT_FAILURE;
    }
    if (owned.value() != QDBusConnectionInterface::ServiceRegistered) {
        print(stderr, QStringLiteral("the name %1 is taken on the %2").arg(serviceName, busLabel));
        return EXIT_FAILURE;
    }
    print(stdout,
          QStringLiteral("%1 is ready on the %2; its root folder is %3")
              .arg(serviceName, busLabel, rootFs));
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ostrel-simulator"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PROJECT_VERSION));

    const auto parsed = parseOptions(QCoreApplication::arguments());
    if (!parsed) {
        return reportBadUsage(QCoreApplication::applicationName(), parsed.error());
    }
    if (!*parsed) {
        return EXIT_SUCCESS;
    }
    const Options &options = **parsed;

    const Result<Catalogue> catalogue = readCatalogue(options.catalogue);
    if (!catalogue) {
        print(stderr, catalogue.error());
        return EXIT_FAILURE;
    }
    RootFs rootFs;
    if (const Result<> made = rootFs.make(options.rootFs); !made) {
        print(stderr, made.error());
        return EXIT_FAILURE;
    }

    const QDBusConnection bus = connectTo(options);
    if (!bus.isConnected()) {
        print(stderr,
              QStringLiteral("cannot reach the %1: %2")
                  .arg(label(options), bus.lastError().message()));
        if (options.bus != Options::Bus::Address) {
            printHint(adviceOnMissingBus(options.bus == Options::Bus::System
                                             ? QDBusConnection::SystemBus
                                             : QDBusConnection::SessionBus));
        }
        return EXIT_FAILURE;
    }
    // A blocking call on a bus that goes away before the first pass would never end.
    QCoreApplication::processEvents();
    Children children(rootFs, options.killAfter);
    return serve(bus, label(options), rootFs.path(), *catalogue, children);
}

#include "main.moc"
