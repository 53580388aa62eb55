// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/members.h"

#include "bus/interface_description.h"

#include "DBus/names_p.h"

#include <array>

// A static library's resources are only linked if something asks for them.
static void initializeResources()
{
    Q_INIT_RESOURCE(interfaces);
}

namespace
{

struct Members
{
    Members()
    {
        initializeResources();
        struct Known
        {
            const char *interface;
            const char *path;
        };
        static constexpr std::array<Known, 4> known{{
            {"Control1", OSTREL_CONTROL_PATH},
            {"TaskInvoker1", OSTREL_TASK_INVOKER_PATH},
            {"TaskInvokerSession1", ""},
            {"WindowManagement1", OSTREL_WINDOW_MANAGEMENT_PATH},
        }};
        for (const Known &each : known) {
            const InterfaceDescription description(QString::fromLatin1(each.interface));
            Member member;
            member.interface = description.name();
            member.shortInterface = description.shortName();
            member.path = QString::fromLatin1(each.path);
            const QStringList methods = description.methodNames();
            for (const QString &name : methods) {
                member.name = name;
                member.signature = description.replySignature(name);
                ofMethods.append(member);
            }
            const QStringList signalNames = description.signalNames();
            for (const QString &name : signalNames) {
                member.name = name;
                member.signature = description.signalSignature(name);
                ofSignals.append(member);
            }
        }
    }

    QVector<Member> ofMethods;
    QVector<Member> ofSignals;
};

const Members &members()
{
    static const Members all;
    return all;
}

} // namespace

QString Member::label() const
{
    return shortInterface + QLatin1Char('.') + name;
}

const QVector<Member> &serviceMethods()
{
    return members().ofMethods;
}

const QVector<Member> &serviceSignals()
{
    return members().ofSignals;
}
