// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "hints.h"

#include <QtCore/QHash>

#include <array>
#include <functional>

namespace
{

using Ostrel::TaskInvoker;
using Hints = TaskInvoker::Hints;

enum class Form {
    Number,
    Text,
    Truth,
    List,
    Autostart,
};

struct Hint
{
    const char *name;
    Form form;
    // One of these, as the form requires.
    void (Hints::*setNumber)(int) = nullptr;
    void (Hints::*setText)(const QString &) = nullptr;
    void (Hints::*setList)(const QStringList &) = nullptr;
};

const std::array all{
    Hint{"Autostart", Form::Autostart},
    Hint{"CPULimit", Form::Number, &Hints::setCPULimit},
    Hint{"Conditions", Form::List, nullptr, nullptr, &Hints::setConditions},
    Hint{"DBusService", Form::Text, nullptr, &Hints::setDBusService},
    Hint{"Homeless", Form::Truth},
    Hint{"Permissions", Form::List, nullptr, nullptr, &Hints::setPermissions},
    Hint{"Priority", Form::Number, &Hints::setPriority},
    Hint{"RunningTime", Form::Number, &Hints::setMaximumRunningTime},
    Hint{"User", Form::Text, nullptr, &Hints::setUser},
    Hint{"Weight", Form::Number, &Hints::setOomWeight},
};

QString formOf(const Hint &hint)
{
    switch (hint.form) {
    case Form::Number:
        return QStringLiteral("a whole number");
    case Form::Text:
        return QStringLiteral("a string");
    case Form::Truth:
        return QStringLiteral("true or false");
    case Form::List:
        return QStringLiteral("words separated by commas");
    case Form::Autostart:
        return QStringLiteral("default, enabled or disabled");
    }
    return {};
}

bool setNumber(Hints &hints, const Hint &hint, const QString &value)
{
    bool ok = false;
    const int number = value.toInt(&ok);
    if (ok) {
        (hints.*hint.setNumber)(number);
    }
    return ok;
}

bool setTruth(Hints &hints, const QString &value)
{
    const bool truth = value == QLatin1String("true");
    hints.setHomeless(truth);
    return truth || value == QLatin1String("false");
}

bool setAutostart(Hints &hints, const QString &value)
{
    static const QHash<QString, TaskInvoker::Autostart> values{
        {QStringLiteral("default"), TaskInvoker::AutostartDefault},
        {QStringLiteral("enabled"), TaskInvoker::AutostartEnabled},
        {QStringLiteral("disabled"), TaskInvoker::AutostartDisabled},
    };
    const auto found = values.constFind(value);
    if (found == values.cend()) {
        return false;
    }
    hints.setAutostart(*found);
    return true;
}

bool set(Hints &hints, const Hint &hint, const QString &value)
{
    switch (hint.form) {
    case Form::Number:
        return setNumber(hints, hint, value);
    case Form::Text:
        (hints.*hint.setText)(value);
        return true;
    case Form::Truth:
        return setTruth(hints, value);
    case Form::List:
        (hints.*hint.setList)(value.split(QLatin1Char(','), Qt::SkipEmptyParts));
        return true;
    case Form::Autostart:
        return setAutostart(hints, value);
    }
    return false;
}

} // namespace

QString knownHints()
{
    QString lines;
    for (const Hint &hint : all) {
        lines += QStringLiteral("  %1  %2\n").arg(QLatin1String(hint.name), -12).arg(formOf(hint));
    }
    return lines;
}

Result<> setHint(Hints &hints, const QString &assignment)
{
    const QString name = assignment.section(QLatin1Char('='), 0, 0);
    const QString value = assignment.section(QLatin1Char('='), 1);
    for (const Hint &hint : all) {
        if (name == QLatin1String(hint.name)) {
            if (set(hints, hint, value)) {
                return {};
            }
            return Failure(
                QStringLiteral("the hint %1 takes %2, not \"%3\"").arg(name, formOf(hint), value));
        }
    }
    return Failure(QStringLiteral("no hint \"%1\"").arg(name));
}
