// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/members.h"

#include "bus/name_forms.h"

#include <QtCore/QStringList>

namespace
{

QString interfaceOf(const QString &name)
{
    return name.left(qMax(0, name.lastIndexOf(QLatin1Char('.'))));
}

QString memberOf(const QString &name)
{
    return name.mid(name.lastIndexOf(QLatin1Char('.')) + 1);
}

} // namespace

Members::Member Members::method(const JsonNode &name) const
{
    return find(Method_, name);
}

Members::Member Members::signal(const JsonNode &name) const
{
    const QString full = name.string();
    const QString interface = interfaceOf(full);
    if (candidates(Signal_, full).isEmpty() && isInterfaceName(interface)
        && isMemberName(memberOf(full))) {
        Member other;
        other.name = {interface, memberOf(full)};
        other.isKnown = false;
        return other;
    }
    return find(Signal_, name);
}

QVector<Service::Known> Members::candidates(Kind kind, const QString &name) const
{
    const QString interface = interfaceOf(name);
    const QString member = memberOf(name);
    QVector<Service::Known> found;
    for (const Service::Known &each : m_interfaces) {
        const InterfaceDescription &description = each.description;
        const bool isNamed = interface.isEmpty() || interface == description.shortName()
            || interface == description.name();
        if (isNamed
            && (kind == Method_ ? description.hasMethod(member) : description.hasSignal(member))) {
            found.append(each);
        }
    }
    return found;
}

Members::Member Members::find(Kind kind, const JsonNode &name) const
{
    const QString text = name.string();
    const QString what = kind == Method_ ? QStringLiteral("method") : QStringLiteral("signal");
    const QVector<Service::Known> found = candidates(kind, text);
    if (found.isEmpty()) {
        name.refuse(QStringLiteral("the service has no %1 \"%2\"").arg(what, text));
    }
    if (found.size() > 1) {
        QStringList names;
        for (const Service::Known &each : found) {
            names.append(each.description.shortName() + QLatin1Char('.') + text);
        }
        name.refuse(
            QStringLiteral("\"%1\" can be %2").arg(text, names.join(QStringLiteral(" or "))));
    }
    const InterfaceDescription &description = found.constFirst().description;
    const QString member = memberOf(text);
    Member result;
    result.name = {description.name(), member};
    result.path = found.constFirst().path;
    result.signature =
        kind == Method_ ? description.signature(member) : description.signalSignature(member);
    result.reply = description.replySignature(member);
    return result;
}
