// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lifecycle.h"
#include "tasks.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/ServicesModel>

#include <QtQml/QQmlExtensionPlugin>
#include <QtQml/qqml.h>

// The QML module "Ostrel".
class OstrelPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override
    {
        using namespace Ostrel;
        qmlRegisterUncreatableType<LiveModel>(
            uri, 1, 0, "LiveModel",
            QStringLiteral("It is what Applications, Services and Tasks have in common"));
        qmlRegisterType<ApplicationsModel>(uri, 1, 0, "Applications");
        qmlRegisterType<ServicesModel>(uri, 1, 0, "Services");
        qmlRegisterType<Tasks>(uri, 1, 0, "Tasks");
        qmlRegisterSingletonType<Lifecycle>(
            uri, 1, 0, "Lifecycle", [](QQmlEngine * /*engine*/, QJSEngine *scripts) -> QObject * {
                return new Lifecycle(scripts);
            });
        // "Error" would hide the class of JavaScript.
        qmlRegisterUncreatableMetaObject(
            Error::staticMetaObject, uri, 1, 0, "LifecycleError",
            QStringLiteral("It has the codes of errors; results and models have the errors"));
    }
};

#include "plugin.moc"
