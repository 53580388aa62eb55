// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SCENARIO_TEST_H
#define TESTS_SCENARIO_TEST_H

#include "files.h"
#include "kit.h"
#include "outcomes.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>
#include <QtDBus/QDBusConnection>

#include <optional>

// A private bus, and a simulator with a scenario.
class ScenarioTest
{
protected:
    ScenarioTest()
    {
        // Until the event loop has run once, messages may come in another order.
        QDBusConnection::sessionBus();
        QCoreApplication::processEvents();
    }

    // Starts the simulator with these steps, after a call that lets the test begin.
    void start(const QString &steps, const QString &always = "[]")
    {
        const QString file = m_folder.filePath("scenario.json");
        const QString begin =
            R"({"at": {"call": "UpdateWindowStatus", "arguments": ["begin"]}, "comment": "the test"})";
        writeFile(file,
                  QString(R"({"steps": [%1%2], "always": %3})")
                      .arg(begin, steps.isEmpty() ? steps : ", " + steps, always));
        startFile(file);
    }

    // Starts the simulator with this scenario or trace. These tests compare its exit status and its
    // lines themselves, which setScenarioFile() would do for them.
    void startFile(const QString &file)
    {
        m_simulator.emplace(m_bus, QStringList{"--scenario", file});
        m_simulator->start();
    }

    // Makes that call. After it, the first step is the next.
    static void begin() { reportWindow("begin"); }

    QTemporaryDir m_folder;
    PrivateBus m_bus;
    std::optional<Simulator> m_simulator;
};

#endif
