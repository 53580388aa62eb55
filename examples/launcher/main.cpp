// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Shows what runs, starts applications from a list in a file, and starts and stops tasks. What it
// does is in main.qml.

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QTextStream>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QTextStream err(stderr);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Starts and follows applications and tasks."));
    parser.addHelpOption();
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral(
            "What can be started: a JSON array of objects with id, title, description."));
    parser.addPositionalArgument(QStringLiteral("TYPE"), QStringLiteral("The type of the tasks."));
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        parser.showHelp(EXIT_FAILURE);
    }

    QFile file(arguments.at(0));
    if (!file.open(QFile::ReadOnly)) {
        err << file.fileName() << ": " << file.errorString() << Qt::endl;
        return EXIT_FAILURE;
    }
    QJsonParseError error;
    const QJsonDocument catalogue = QJsonDocument::fromJson(file.readAll(), &error);
    if (!catalogue.isArray()) {
        err << file.fileName() << ": no JSON array; " << error.errorString() << Qt::endl;
        return EXIT_FAILURE;
    }

    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE")) {
        qputenv("QT_QUICK_CONTROLS_STYLE", "Material");
    }
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("catalogue"), catalogue.toVariant()},
                                 {QStringLiteral("taskType"), arguments.at(1)}});
    engine.load(QUrl(QStringLiteral("qrc:/main.qml")));
    return engine.rootObjects().isEmpty() ? EXIT_FAILURE : QGuiApplication::exec();
}
