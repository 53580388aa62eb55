// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_QML_RIG_H
#define TESTS_QML_RIG_H

#include "model_rig.h"

#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>

#include <memory>
#include <vector>

// A QML engine beside the simulator, and objects that keep the results of their requests. All
// engines of a process share its connection to the bus.
class QmlRig
{
public:
    QmlRig()
    {
        m_engine = std::make_unique<QQmlEngine>();
        m_engine->addImportPath(QML_IMPORT_PATH);
    }

    void destroyEngine()
    {
        m_objects.clear();
        m_engine.reset();
    }

    // Makes an object with these members, which lives as long as the engine.
    QObject *make(const QString &members)
    {
        QQmlComponent component(m_engine.get());
        component.setData(QString("import QtQml 2.15; import Ostrel 1.0\n"
                                  "QtObject { id: root; property var results: []\n"
                                  "function keep(result) { results.push(result) }\n"
                                  "%1\n}")
                              .arg(members)
                              .toUtf8(),
                          QUrl("test.qml"));
        m_objects.emplace_back(component.create());
        if (!m_objects.back()) {
            qFatal("%s", qPrintable(component.errorString()));
        }
        return m_objects.back().get();
    }

    // Runs JavaScript in an object of its own. Returns the object.
    QObject *run(const QString &script)
    {
        QObject *object =
            make(QString("property Tasks tasks: Tasks { type: \"sync\" }\nfunction run() { %1 }")
                     .arg(script));
        QMetaObject::invokeMethod(object, "run");
        return object;
    }

    // Returns the results that an object has kept, as soon as there are some.
    static QVariantList results(const QObject *object, int count = 1)
    {
        const auto kept = [object] {
            const QVariant value = object->property("results");
            return value.value<QJSValue>().toVariant().toList();
        };
        waitUntil([&] { return kept().size() >= count; });
        return kept();
    }

    // Returns the value of an expression in the scope of the object.
    static QVariant evaluate(QObject *object, const QString &script)
    {
        QQmlExpression expression(qmlContext(object), object, script);
        return expression.evaluate();
    }

private:
    std::unique_ptr<QQmlEngine> m_engine;
    std::vector<std::unique_ptr<QObject>> m_objects;
};

#endif
