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
    options.bus.apply();
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

// A new process would begin the recording anew, and what the file holds would be lost.
void removeRecording(std::vector<char *> &arguments)
{
    const QByteArray option("--record");
    for (auto argument = arguments.begin(); *argument != nullptr;) {
        const QByteArray text(*argument);
        if (text == option && *std::next(argument) != nullptr) {
            argument = arguments.erase(argument, std::next(argument, 2));
        } else if (text.startsWith(option + '=')) {
            argument = arguments.erase(argument);
        } else {
            ++argument;
        }
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
        // Only a new process gets a new connection to the bus.
        removeRecording(arguments);
        ::execv("/proc/self/exe", arguments.data());
        return EXIT_FAILURE;
    }
    return status;
}
