// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TRACING_TEST_H
#define TESTS_TRACING_TEST_H

#include "files.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <QtCore/QTemporaryDir>

#include <memory>
#include <optional>

// A private bus with a simulator, and the command that records a trace of it.
class TracingTest
{
protected:
    // Starts a bus with this configuration and its simulator, and empties the folder.
    void startAnew(const QString &configuration = QString())
    {
        m_simulator.reset();
        m_folder.emplace();
        m_bus.emplace(PrivateBus::SessionBus, configuration);
        m_simulator.emplace(*m_bus);
        m_simulator->start();
    }

    QString path(const QString &name = "trace.json") const { return m_folder->filePath(name); }

    // Starts to record, and returns when nothing is missed any more.
    std::unique_ptr<Watcher> record(const QStringList &options = {}) const
    {
        auto watcher = std::make_unique<Watcher>(QStringList{"trace", "-o", path()} + options);
        const QString line = watcher->readLine();
        if (line != "recording to " + path() + "; Ctrl-C ends it") {
            qFatal("unexpected: %s", qPrintable(line));
        }
        return watcher;
    }

    void emitSignal(const QString &member, const QVariantList &arguments) const
    {
        m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, arguments);
    }

    // Waits until the file has this text.
    void waitFor(const QString &text) const
    {
        waitUntil([&] { return readFile(path()).contains(text); });
    }

    std::optional<QTemporaryDir> m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

#endif
