// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "options.h"

#include "help.h"
#include "programs/catalogue.h"

#include "DBus/names_p.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QTextStream>

#include <cstdio>

Result<std::optional<Options>> parseOptions(const QStringList &arguments)
{
    const QString session = QStringLiteral("session");
    const QString system = QStringLiteral("system");
    const QString address = QStringLiteral("address");
    const QString catalogue = QStringLiteral("catalogue");
    const QString scenario = QStringLiteral("scenario");
    const QString printCatalogue = QStringLiteral("print-catalogue");
    const QString killAfter = QStringLiteral("kill-after");
    const QString rootFs = QStringLiteral("rootfs");
    const QString help = QStringLiteral("help");
    const QString version = QStringLiteral("version");

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Stands in for the application-lifecycle service on a message bus, for desks and tests.\n"
        "It owns the name " OSTREL_SERVICE_NAME ", prints one line when it is ready, and ends\n"
        "on SIGTERM. Its fault desk is the interface " OSTREL_SIMULATOR_INTERFACE "\n"
        "at " OSTREL_SIMULATOR_PATH "."));
    parser.addOptions({
        {{QStringLiteral("h"), help}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), version}, QStringLiteral("Print the version.")},
        {session, QStringLiteral("Serve on the session bus (the default).")},
        {system, QStringLiteral("Serve on the system bus.")},
        {address, QStringLiteral("Serve on the bus at this address."), address},
        {catalogue,
         QStringLiteral(
             "Run the applications and tasks of this JSON file instead of the built-in ones."),
         QStringLiteral("file")},
        {printCatalogue, QStringLiteral("Print the built-in catalogue.")},
        {scenario,
         QStringLiteral(
             "Reply, fail, send signals, end and restart as the steps of this JSON file say, or "
             "as in this trace."),
         QStringLiteral("file")},
        {killAfter,
         QStringLiteral("Kill a program that does not end within this time after SIGTERM (the "
                        "default: 2000)."),
         QStringLiteral("milliseconds")},
        {rootFs,
         QStringLiteral("Keep the control groups of the programs in this folder, as "
                        "proc/PID/cgroup, instead of a temporary one."),
         QStringLiteral("folder")},
    });
    if (!parser.parse(arguments)) {
        return Failure(parser.errorText());
    }
    if (parser.isSet(help)) {
        QTextStream(stdout) << helpText(parser);
        return std::nullopt;
    }
    if (parser.isSet(version)) {
        QTextStream(stdout) << "ostrel-simulator " PROJECT_VERSION "\n";
        return std::nullopt;
    }
    if (parser.isSet(printCatalogue)) {
        QTextStream(stdout) << builtInCatalogue();
        return std::nullopt;
    }
    if (!parser.positionalArguments().isEmpty()) {
        return Failure(QStringLiteral("unexpected argument \"%1\"")
                           .arg(parser.positionalArguments().constFirst()));
    }
    const int buses =
        int(parser.isSet(session)) + int(parser.isSet(system)) + int(parser.isSet(address));
    if (buses > 1) {
        return Failure(QStringLiteral("--session, --system and --address exclude one another"));
    }

    Options options;
    options.catalogue = parser.value(catalogue);
    options.scenario = parser.value(scenario);
    options.rootFs = parser.value(rootFs);
    for (const QString &option : {catalogue, scenario, rootFs}) {
        if (parser.isSet(option) && parser.value(option).isEmpty()) {
            return Failure(QStringLiteral("--%1 takes a name, not an empty one").arg(option));
        }
    }
    if (parser.isSet(killAfter)) {
        bool isNumber = false;
        const int milliseconds = parser.value(killAfter).toInt(&isNumber);
        if (!isNumber || milliseconds < 0) {
            return Failure(QStringLiteral("--kill-after takes milliseconds, not \"%1\"")
                               .arg(parser.value(killAfter)));
        }
        options.killAfter = std::chrono::milliseconds(milliseconds);
    }
    if (parser.isSet(address)) {
        options.bus = Options::Bus::Address;
        options.address = parser.value(address);
    } else if (parser.isSet(system)) {
        options.bus = Options::Bus::System;
    }
    return options;
}
