// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/service.h"

#include "bus/properties.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusError>

#include <algorithm>

void Service::add(std::unique_ptr<Interface> interface)
{
    m_interfaces.push_back(std::move(interface));
}

void Service::expect(const InterfaceDescription &description)
{
    m_expected.push_back(description);
}

bool Service::knows(const Method &method) const
{
    const auto has = [&method](const InterfaceDescription &description) {
        return description.name() == method.first && description.hasMethod(method.second);
    };
    return std::any_of(m_expected.cbegin(), m_expected.cend(), has)
        || std::any_of(m_interfaces.cbegin(), m_interfaces.cend(), [&has](const auto &interface) {
               return interface->isSimulated() && has(interface->description());
           });
}

QVector<Service::Known> Service::known() const
{
    QVector<Known> all;
    for (const auto &interface : m_interfaces) {
        if (interface->isSimulated()) {
            all.append({interface->description(), interface->path()});
        }
    }
    for (const InterfaceDescription &description : m_expected) {
        all.append({description, QString()});
    }
    return all;
}

void Service::arrange(const Method &method, const Fault &fault, uint calls)
{
    if (calls > 0) {
        m_faults[method].enqueue({fault, calls});
    }
}

void Service::send(const QDBusMessage &call, const QDBusMessage &answer)
{
    if (call.isReplyRequired() && answer.type() != QDBusMessage::InvalidMessage) {
        m_connection.send(answer);
    }
}

bool Service::sendSignal(const QDBusMessage &signal)
{
    // Posted before the signal goes: a call that a client makes at the signal may arrive before the
    // next line.
    auto *notice = new QObject(this);
    QMetaObject::invokeMethod(
        notice, [this, signal] { Q_EMIT signalSent(signal); }, Qt::QueuedConnection);
    if (!m_connection.send(signal)) {
        delete notice;
        return false;
    }
    notice->deleteLater();
    return true;
}

void Service::reset()
{
    m_faults.clear();
    m_log.clear();
    dropState();
    Q_EMIT wasReset();
}

void Service::dropState()
{
    m_interfaces.erase(
        std::remove_if(m_interfaces.begin(), m_interfaces.end(),
                       [](const auto &interface) { return !interface->outlastsReset(); }),
        m_interfaces.end());
    for (const auto &interface : m_interfaces) {
        interface->reset();
    }
}

bool Service::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    // The call came before a restart. Its caller learns that the connection has ended.
    if (connection.name() != m_connection.name()) {
        return true;
    }
    Interface *const interface = find(message);
    if (interface != nullptr ? interface->isSimulated()
                             : message.path() != QLatin1String(OSTREL_SIMULATOR_PATH)) {
        m_log.append(message);
        Q_EMIT called();
    }
    if (interface == nullptr) {
        if (message.interface() == QLatin1String("org.freedesktop.DBus.Properties")
            && hasObject(message.path())) {
            send(message, answerProperties(message, interfacesAt(message.path())));
            return true;
        }
        if (message.interface().startsWith(QLatin1String("org.freedesktop.DBus."))
            && hasObject(message.path())) {
            return false; // QtDBus replies to "Introspect" and its like
        }
        send(message, refuseTarget(message));
        return true;
    }

    const QDBusMessage refused = refuseMethod(message, interface->description());
    if (refused.type() != QDBusMessage::InvalidMessage) {
        send(message, refused);
        return true;
    }

    const Fault fault = interface->isSimulated()
        ? takeFault(message, {interface->description().name(), message.member()})
        : nullptr;
    if (fault) {
        fault(message, *interface);
    } else {
        interface->handle(message,
                          [this, message](const QDBusMessage &answer) { send(message, answer); });
    }
    return true;
}

Service::Fault Service::takeFault(const QDBusMessage &call, const Method &method)
{
    Fault fault = m_director ? m_director(call, method) : nullptr;
    const auto faults = m_faults.find(method);
    if (!fault && faults != m_faults.end() && !faults->isEmpty()) {
        fault = faults->head().fault;
        if (--faults->head().calls == 0) {
            faults->dequeue();
        }
    }
    return fault;
}

QString Service::introspect(const QString &path) const
{
    QString xml;
    QStringList children;
    for (const auto &interface : m_interfaces) {
        if (interface->path() == path) {
            xml += interface->description().xml();
        } else if (interface->path().startsWith(path + QLatin1Char('/'))) {
            children.append(interface->path().mid(path.size() + 1).section(QLatin1Char('/'), 0, 0));
        }
    }
    children.removeDuplicates();
    for (const QString &child : qAsConst(children)) {
        xml += QStringLiteral("  <node name=\"%1\"/>\n").arg(child);
    }
    return xml;
}

// A call without an interface goes to the first one that has the member.
Interface *Service::find(const QDBusMessage &call) const
{
    const auto found =
        std::find_if(m_interfaces.cbegin(), m_interfaces.cend(), [&call](const auto &interface) {
            const InterfaceDescription &description = interface->description();
            return interface->path() == call.path()
                && (call.interface().isEmpty() ? description.hasMethod(call.member())
                                               : description.name() == call.interface());
        });
    return found != m_interfaces.cend() ? found->get() : nullptr;
}

// The error reply to a call of an unknown object or interface.
QDBusMessage Service::refuseTarget(const QDBusMessage &call) const
{
    if (!hasObject(call.path())) {
        return call.createErrorReply(QDBusError::UnknownObject,
                                     QStringLiteral("No object at the path %1").arg(call.path()));
    }
    return call.createErrorReply(
        QDBusError::UnknownInterface,
        QStringLiteral("No interface \"%1\" at the path %2").arg(call.interface(), call.path()));
}

// The error reply to a call of an unknown method, or with wrong arguments; an invalid message if
// the call is right.
QDBusMessage Service::refuseMethod(const QDBusMessage &call,
                                   const InterfaceDescription &description)
{
    if (!description.hasMethod(call.member())) {
        return call.createErrorReply(QDBusError::UnknownMethod,
                                     QStringLiteral("No method \"%1\" in the interface %2")
                                         .arg(call.member(), description.name()));
    }
    const QString expected = description.signature(call.member());
    if (call.signature() != expected) {
        return call.createErrorReply(QDBusError::InvalidArgs,
                                     QStringLiteral("%1 takes \"%2\", not \"%3\"")
                                         .arg(call.member(), expected, call.signature()));
    }
    return {};
}

bool Service::hasObject(const QString &path) const
{
    return std::any_of(m_interfaces.cbegin(), m_interfaces.cend(), [&path](const auto &interface) {
        return interface->path() == path || interface->path().startsWith(path + QLatin1Char('/'));
    });
}

QVector<const Interface *> Service::interfacesAt(const QString &path) const
{
    QVector<const Interface *> interfaces;
    for (const auto &interface : m_interfaces) {
        if (interface->path() == path) {
            interfaces.append(interface.get());
        }
    }
    return interfaces;
}
