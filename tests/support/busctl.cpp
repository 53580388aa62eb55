// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"

#include "DBus/names_p.h"

QString busctlDesk(const PrivateBus &bus, const QString &method, const QStringList &arguments)
{
    const Result result = run(QStringLiteral("busctl"),
                              QStringList{QStringLiteral("--address=%1").arg(bus.address()),
                                          QStringLiteral("--json=short"), QStringLiteral("call"),
                                          QStringLiteral("--"), QStringLiteral(OSTREL_SERVICE_NAME),
                                          QStringLiteral(OSTREL_SIMULATOR_PATH),
                                          QStringLiteral(OSTREL_SIMULATOR_INTERFACE), method}
                                  + arguments);
    if (result.exitStatus != 0) {
        qFatal("busctl: %s", qPrintable(result.errors));
    }
    return result.output.trimmed();
}

void busctlAnswerNext(const PrivateBus &bus, const QString &signature, const QStringList &value)
{
    busctlDesk(bus, QStringLiteral("AnswerNext"),
               QStringList{QStringLiteral("ssav"),
                           QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                           QStringLiteral("UpdateWindowStatus"), QStringLiteral("1"), signature}
                   + value);
}
