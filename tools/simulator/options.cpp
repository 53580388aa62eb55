// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "options.h"

#include "print.h"

#include "DBus/names_p.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QTextStream>

#include <cstdio>
#include <cstdlib>

namespace
{

constexpr int usageError = 2;

int tellMistake(const QString &mistake)
{
    print(stderr, mistake);
    QTextStream(stderr) << "Try 'ostrel-simulator --help'.\n";
    return usageError;
}

} // namespace

std::variant<Options, int> parseOptions(const QStringList &arguments)
{
    const QString session = QStringLiteral("session");
    const QString system = QStringLiteral("system");
    const QString address = QStringLiteral("address");
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
    });
    if (!parser.parse(arguments)) {
        return tellMistake(parser.errorText());
    }
    if (parser.isSet(help)) {
        QTextStream(stdout) << parser.helpText();
        return EXIT_SUCCESS;
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    if (!parser.positionalArguments().isEmpty()) {
        return tellMistake(QStringLiteral("unexpected argument \"%1\"")
                               .arg(parser.positionalArguments().constFirst()));
    }
    const int buses =
        int(parser.isSet(session)) + int(parser.isSet(system)) + int(parser.isSet(address));
    if (buses > 1) {
        return tellMistake(QStringLiteral("--session, --system and --address exclude one another"));
    }

    if (parser.isSet(address)) {
        return Options{Options::Bus::Address, parser.value(address)};
    }
    return Options{parser.isSet(system) ? Options::Bus::System : Options::Bus::Session, QString()};
}
