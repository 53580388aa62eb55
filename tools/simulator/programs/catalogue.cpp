// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/catalogue.h"

#include "json/bus_values.h"
#include "json/json_file.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace
{

QString builtIn()
{
    return QStringLiteral(":/catalogue.json");
}

const QString programKey = QStringLiteral("program");
const QString argumentsKey = QStringLiteral("arguments");
const QString propertiesKey = QStringLiteral("properties");

// The members of every program but "program" itself.
QStringList programMembers()
{
    return {argumentsKey, propertiesKey};
}

void readProgram(const JsonNode &node, Program &program)
{
    program.program = node.member(programKey).string();
    if (program.program.isEmpty()) {
        node.member(programKey).refuse(QStringLiteral("is empty"));
    }
    if (node.has(argumentsKey)) {
        program.arguments = node.member(argumentsKey).strings();
    }
    if (node.has(propertiesKey)) {
        program.properties = busMap(node.member(propertiesKey));
    }
}

// A name that is unique in a list.
QString readName(const JsonNode &node, QStringList &earlier)
{
    QString name = node.string();
    if (name.isEmpty()) {
        node.refuse(QStringLiteral("is empty"));
    } else if (earlier.contains(name)) {
        node.refuse(QStringLiteral("\"%1\" is there already").arg(name));
    }
    earlier.append(name);
    return name;
}

// The identifier becomes a component of the path in a line of colon-separated fields.
QString readId(const JsonNode &node, QStringList &earlier)
{
    static const QRegularExpression component(QStringLiteral("\\A[^/:[:cntrl:]]{1,255}\\z"));
    QString id = readName(node, earlier);
    if (!component.match(id).hasMatch() || id == QLatin1String(".") || id == QLatin1String("..")) {
        node.refuse(QStringLiteral("\"%1\" cannot be a component of a path").arg(id));
    }
    return id;
}

ApplicationService readService(const JsonNode &node, QStringList &names)
{
    const QString nameKey = QStringLiteral("name");
    node.expectMembers({nameKey, programKey}, programMembers());
    ApplicationService service;
    service.name = readName(node.member(nameKey), names);
    readProgram(node, service);
    return service;
}

Application readApplication(const JsonNode &node, QStringList &ids)
{
    const QString idKey = QStringLiteral("id");
    const QString kindKey = QStringLiteral("kind");
    const QString singleInstanceKey = QStringLiteral("singleInstance");
    const QString servicesKey = QStringLiteral("services");
    node.expectMembers({idKey, programKey},
                       programMembers() + QStringList{kindKey, singleInstanceKey, servicesKey});
    Application application;
    application.id = readId(node.member(idKey), ids);
    readProgram(node, application);
    if (node.has(kindKey)) {
        application.kind = node.member(kindKey).number();
    }
    if (node.has(singleInstanceKey)) {
        application.singleInstance = node.member(singleInstanceKey).boolean();
    }
    if (node.has(servicesKey)) {
        QStringList names;
        const QVector<JsonNode> services = node.member(servicesKey).elements();
        for (const JsonNode &service : services) {
            application.services.append(readService(service, names));
        }
    }
    return application;
}

Task readTask(const JsonNode &node, QStringList &names)
{
    const QString nameKey = QStringLiteral("name");
    node.expectMembers({nameKey, programKey}, programMembers());
    Task task;
    task.name = readId(node.member(nameKey), names);
    readProgram(node, task);
    return task;
}

// The type becomes the end of an object's path.
QString readTypeName(const JsonNode &node, QStringList &earlier)
{
    QString name = readName(node, earlier);
    if (!makesAPath(name)) {
        node.refuse(QStringLiteral("\"%1\" makes no object path").arg(name));
    }
    return name;
}

TaskType readTaskType(const JsonNode &node, QStringList &earlier)
{
    const QString typeKey = QStringLiteral("type");
    const QString tasksKey = QStringLiteral("tasks");
    node.expectMembers({typeKey, tasksKey}, {});
    TaskType type;
    type.name = readTypeName(node.member(typeKey), earlier);
    QStringList names;
    const QVector<JsonNode> tasks = node.member(tasksKey).elements();
    for (const JsonNode &task : tasks) {
        type.tasks.append(readTask(task, names));
    }
    return type;
}

Catalogue readCatalogue(const JsonNode &root)
{
    const QString applicationsKey = QStringLiteral("applications");
    const QString taskTypesKey = QStringLiteral("taskTypes");
    root.expectMembers({}, {applicationsKey, taskTypesKey});
    Catalogue catalogue;
    if (root.has(applicationsKey)) {
        QStringList ids;
        const QVector<JsonNode> applications = root.member(applicationsKey).elements();
        for (const JsonNode &application : applications) {
            catalogue.applications.append(readApplication(application, ids));
        }
    }
    if (root.has(taskTypesKey)) {
        QStringList names;
        const QVector<JsonNode> types = root.member(taskTypesKey).elements();
        for (const JsonNode &type : types) {
            catalogue.taskTypes.append(readTaskType(type, names));
        }
    }
    return catalogue;
}

} // namespace

Launch Program::launch() const
{
    Launch launch;
    launch.program = program;
    launch.arguments = arguments;
    return launch;
}

std::optional<Application> Catalogue::application(const QString &id) const
{
    const auto found =
        std::find_if(applications.cbegin(), applications.cend(),
                     [&id](const Application &application) { return application.id == id; });
    return found != applications.cend() ? std::optional(*found) : std::nullopt;
}

std::optional<Task> TaskType::task(const QString &taskName) const
{
    const auto found = std::find_if(tasks.cbegin(), tasks.cend(), [&taskName](const Task &task) {
        return task.name == taskName;
    });
    return found != tasks.cend() ? std::optional(*found) : std::nullopt;
}

TaskType Catalogue::taskType(const QString &name) const
{
    const auto found = std::find_if(taskTypes.cbegin(), taskTypes.cend(),
                                    [&name](const TaskType &type) { return type.name == name; });
    return found != taskTypes.cend() ? *found : TaskType{name, {}};
}

bool makesAPath(const QString &taskType)
{
    static const QRegularExpression elements(
        QStringLiteral("\\A[A-Za-z0-9_]+(/[A-Za-z0-9_]+)*\\z"));
    return elements.match(taskType).hasMatch();
}

QByteArray builtInCatalogue()
{
    QFile file(builtIn());
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

Result<Catalogue> readCatalogue(const QString &fileName)
{
    return readJson(fileName.isEmpty() ? builtIn() : fileName,
                    [](const JsonFile &file) { return readCatalogue(file.root()); });
}
