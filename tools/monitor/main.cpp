// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "file_actions.h"
#include "main_window.h"
#include "options.h"
#include "screenshot.h"
#include "session_bus.h"
#include "termination.h"

#include <QtCore/QByteArrayList>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <unistd.h>
#include <vector>

namespace
{

// No exit status of the window.
constexpr int restart = 1000;

int show(const MonitorOptions &options)
{
    // A bus that never replies holds this up. Until then, a signal ends the process at once.
    const SessionBus sessionBus;
    const Termination termination;
    MainWindow window(options.bus);
    QObject::connect(&window, &MainWindow::restartWanted, qApp,
                     [] { QCoreApplication::exit(restart); });
    QObject::connect(&termination, &Termination::requested, &window, &QWidget::close);
    if (options.size.isValid()) {
        window.resize(options.size);
    }
    window.show();
    if (!options.open.isNull()) {
        window.fileActions().open(options.open);
    }
    if (!options.record.isNull()) {
        window.fileActions().record(options.record);
    }
    if (!options.screenshot.isNull()) {
        takeScreenshot(window, options.screenshot);
    }
    return QCoreApplication::exec();
}

// Prints the help or the version, if that is asked for: neither needs a display.
bool printsText(int argc, char **argv)
{
    const QByteArrayList askingFor{"-h", "--help", "-v", "--version"};
    if (std::none_of(argv + 1, argv + argc,
                     [&askingFor](const char *option) { return askingFor.contains(option); })) {
        return false;
    }
    const QCoreApplication application(argc, argv);
    const auto options = parseMonitorOptions(QCoreApplication::arguments());
    return options && !*options;
}

// Removes an option, and returns its last value.
QByteArray takeOption(std::vector<char *> &arguments, const QByteArray &option)
{
    QByteArray value;
    for (auto argument = arguments.begin(); *argument != nullptr;) {
        const QByteArray text(*argument);
        if (text == option && *std::next(argument) != nullptr) {
            value = *std::next(argument);
            argument = arguments.erase(argument, std::next(argument, 2));
        } else if (text.startsWith(option + '=')) {
            value = text.mid(option.size() + 1);
            argument = arguments.erase(argument);
        } else {
            ++argument;
        }
    }
    return value;
}

// Input methods, styles and desktops' themes connect to the session bus in the constructor of
// QApplication.
void chooseBus(std::vector<char *> arguments)
{
    if (const QByteArray bus = takeOption(arguments, "--bus"); !bus.isEmpty()) {
        BusChoice(QString::fromLocal8Bit(bus)).apply();
    }
}

} // namespace

int main(int argc, char **argv)
{
    // QApplication removes its own options.
    std::vector<char *> arguments(argv, argv + argc + 1);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostrel-monitor"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PROJECT_VERSION));
    if (printsText(argc, argv)) {
        return EXIT_SUCCESS;
    }
    chooseBus(arguments);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication application(argc, argv);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/ostrel-monitor.svg")));

    const auto options = parseMonitorOptions(QCoreApplication::arguments());
    if (!options) {
        return reportBadUsage(QCoreApplication::applicationName(), options.error());
    }
    if (!*options) {
        return EXIT_SUCCESS;
    }
    const int status = show(**options);
    if (status == restart) {
        // Only a new process gets a new connection to the bus. It would begin the recording anew,
        // and what the file holds would be lost.
        takeOption(arguments, "--record");
        ::execv("/proc/self/exe", arguments.data());
        return EXIT_FAILURE;
    }
    return status;
}
