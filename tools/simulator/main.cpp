// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/presence.h"
#include "bus/service.h"
#include "faultdesk/replies.h"
#include "faultdesk/simulator1.h"
#include "interfaces/control1.h"
#include "interfaces/running_records.h"
#include "interfaces/task_invoker1.h"
#include "interfaces/task_records.h"
#include "interfaces/window_management1.h"
#include "options.h"
#include "print.h"
#include "programs/catalogue.h"
#include "programs/children.h"
#include "programs/root_fs.h"
#include "scenario/scenario_player.h"
#include "scenario/scenario_reader.h"
#include "termination.h"

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace
{

constexpr int unfinishedScenario = 3;

int serve(const Options &options, const Catalogue &catalogue, RootFs &rootFs)
{
    Children children(rootFs, options.killAfter);
    Service service;
    Replies replies(service);
    auto ownedControl = std::make_unique<Control1>(service, catalogue, children);
    auto ownedWindowManagement = std::make_unique<WindowManagement1>();
    Control1 &control = *ownedControl;
    auto ownedDesk = std::make_unique<Simulator1>(
        service, Simulator1::Parts{*ownedWindowManagement, control, children, replies});
    Simulator1 &desk = *ownedDesk;
    service.add(std::move(ownedControl));
    service.add(std::move(ownedWindowManagement));
    service.add(std::make_unique<TaskInvoker1>(service, catalogue, children));
    service.add(std::move(ownedDesk));

    std::optional<Scenario> scenario;
    if (!options.scenario.isEmpty()) {
        const Result<Scenario> read = readScenario(options.scenario, Members(service));
        if (!read) {
            print(stderr, read.error());
            return EXIT_FAILURE;
        }
        scenario = *read;
    }
    if (const Result<> made = rootFs.make(options.rootFs); !made) {
        print(stderr, made.error());
        return EXIT_FAILURE;
    }

    const Termination termination;
    QObject::connect(&termination, &Termination::requested, QCoreApplication::instance(),
                     &QCoreApplication::quit);
    Presence presence(service, options, rootFs.path());
    QObject::connect(&presence, &Presence::lost, QCoreApplication::instance(),
                     [] { QCoreApplication::exit(EXIT_FAILURE); });
    QObject::connect(&children, &Children::aboutToDie, &presence, &Presence::flush);
    std::optional<ScenarioPlayer> player;
    if (scenario) {
        player.emplace(*scenario,
                       ScenarioPlayer::Parts{service, replies, control, children, presence});
        desk.setScenario(*player);
    }
    if (!presence.enter()) {
        return EXIT_FAILURE;
    }
    if (player) {
        player->begin();
    }
    const int status = QCoreApplication::exec();
    return status == EXIT_SUCCESS && player && !player->reportRest() ? unfinishedScenario : status;
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

    // The files may hold them.
    registerRunningRecords();
    registerTaskRecords();
    const Result<Catalogue> catalogue = readCatalogue(options.catalogue);
    if (!catalogue) {
        print(stderr, catalogue.error());
        return EXIT_FAILURE;
    }
    RootFs rootFs;
    return serve(options, *catalogue, rootFs);
}
