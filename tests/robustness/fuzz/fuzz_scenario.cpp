// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"

#include "bus/service.h"
#include "interfaces/control1.h"
#include "interfaces/running_records.h"
#include "interfaces/task_invoker1.h"
#include "interfaces/task_records.h"
#include "interfaces/window_management1.h"
#include "programs/catalogue.h"
#include "programs/children.h"
#include "programs/root_fs.h"
#include "scenario/scenario_reader.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <chrono>
#include <cstdint>
#include <memory>

// The reader of scenarios and traces, with any file.

namespace
{

// The methods and signals of the service, and a file.
class Desk
{
public:
    Desk()
        : m_catalogue(*readCatalogue(QString()))
        , m_children(m_rootFs, std::chrono::milliseconds(0))
    {
        m_service.add(std::make_unique<Control1>(m_service, m_catalogue, m_children));
        m_service.add(std::make_unique<WindowManagement1>());
        m_service.add(std::make_unique<TaskInvoker1>(m_service, m_catalogue, m_children));
    }

    Result<Scenario> read(const std::uint8_t *data, std::size_t size)
    {
        require(m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered), "the file opens");
        const auto length = static_cast<qint64>(size);
        require(m_file.write(reinterpret_cast<const char *>(data), length) == length,
                "the file is written");
        m_file.close();
        return readScenario(m_file.fileName(), Members(m_service));
    }

    QString fileName() const { return m_file.fileName(); }

private:
    QTemporaryDir m_folder;
    QFile m_file{m_folder.filePath(QStringLiteral("scenario.json"))};
    Catalogue m_catalogue;
    RootFs m_rootFs;
    Children m_children;
    Service m_service;
};

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    prepareProcess({});
    static const bool isRegistered = [] {
        registerRunningRecords();
        registerTaskRecords();
        return true;
    }();
    require(isRegistered, "the records are registered");
    static Desk desk;
    const Result<Scenario> scenario = desk.read(data, size);
    if (!scenario) {
        require(scenario.error().startsWith(desk.fileName() + QLatin1Char(':')),
                "an error names the file");
        require(!scenario.error().contains(QLatin1Char('\n')), "an error is one line");
    }
    return 0;
}
