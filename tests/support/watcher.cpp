// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "watcher.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <csignal>

Watcher::Watcher(const QStringList &arguments, const QString &timeZone)
    : Process(OSTRELCTL, arguments)
{
    if (!timeZone.isNull()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TZ", timeZone);
        setProcessEnvironment(environment);
    }
    setProcessChannelMode(QProcess::MergedChannels);
    start();
}

QString Watcher::readEvent()
{
    static const QRegularExpression form("\\A[0-2]\\d:[0-5]\\d:[0-5]\\d\\.\\d{6} (.*)\\z");
    return form.match(readLine()).captured(1);
}

QString Watcher::readJson()
{
    QJsonObject object = QJsonDocument::fromJson(readLine().toUtf8()).object();
    object.remove("time");
    object.remove("monotonic");
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

int Watcher::interrupt()
{
    ::kill(pid_t(processId()), SIGINT);
    return waitForEnd();
}
