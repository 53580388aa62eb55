// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "options.h"

#include "help.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QRegularExpression>
#include <QtCore/QTextStream>

Result<std::optional<MonitorOptions>> parseMonitorOptions(const QStringList &arguments)
{
    const QString bus = QStringLiteral("bus");
    const QString open = QStringLiteral("open");
    const QString record = QStringLiteral("record");
    const QString screenshot = QStringLiteral("screenshot");
    const QString size = QStringLiteral("size");
    const QString help = QStringLiteral("help");
    const QString version = QStringLiteral("version");
    const QString file = QStringLiteral("FILE");

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Shows what the application-lifecycle service runs, since when, and what happens to it."));
    parser.addOptions({
        {{QStringLiteral("h"), help}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), version}, QStringLiteral("Print the version.")},
        {bus,
         QStringLiteral("Look at this message bus: \"session\" (the default), \"system\", or the "
                        "address of a bus."),
         QStringLiteral("BUS")},
        {open, QStringLiteral("Look at this trace, as \"ostrelctl trace\" writes it."), file},
        {record, QStringLiteral("Record what happens to this trace file."), file},
        {screenshot, QStringLiteral("Write a picture of the window to this file, and exit."), file},
        {size, QStringLiteral("Give the window this size."), QStringLiteral("WIDTHxHEIGHT")},
    });
    if (!parser.parse(arguments)) {
        return Failure(parser.errorText());
    }
    if (parser.isSet(help)) {
        QTextStream(stdout) << helpText(parser);
        return std::nullopt;
    }
    if (parser.isSet(version)) {
        QTextStream(stdout) << "ostrel-monitor " PROJECT_VERSION "\n";
        return std::nullopt;
    }
    if (!parser.positionalArguments().isEmpty()) {
        return Failure(QStringLiteral("unexpected argument \"%1\"")
                           .arg(parser.positionalArguments().constFirst()));
    }
    for (const QString &option : {bus, open, record, screenshot}) {
        if (parser.isSet(option) && parser.value(option).isEmpty()) {
            return Failure(QStringLiteral("--%1 takes a name, not an empty one").arg(option));
        }
    }
    MonitorOptions options;
    if (parser.isSet(size)) {
        static const QRegularExpression form(QStringLiteral("^([1-9]\\d{1,3})x([1-9]\\d{1,3})$"));
        const auto match = form.match(parser.value(size));
        if (!match.hasMatch()) {
            return Failure(QStringLiteral("--size takes WIDTHxHEIGHT in pixels, not \"%1\"")
                               .arg(parser.value(size)));
        }
        options.size = {match.captured(1).toInt(), match.captured(2).toInt()};
    }
    if (parser.isSet(bus)) {
        options.bus = BusChoice(parser.value(bus));
    }
    options.open = parser.value(open);
    options.record = parser.value(record);
    options.screenshot = parser.value(screenshot);
    return options;
}
