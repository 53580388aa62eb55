// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "peer.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <csignal>

Peer::Peer(const PrivateBus &bus)
    : m_process(PEER, {bus.address()})
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start();
    m_name = m_process.readLine();
}

void Peer::order(const QString &line)
{
    orderLater(line);
    waitForOrder();
}

void Peer::orderLater(const QString &line)
{
    m_process.write(line.toUtf8() + '\n');
    while (m_process.bytesToWrite() > 0) {
        if (!m_process.waitForBytesWritten(forever)) {
            qFatal("the peer takes no order: %s", qPrintable(line.left(200)));
        }
    }
}

void Peer::waitForOrder()
{
    if (m_process.readLine() != "ok") {
        qFatal("the peer does not answer");
    }
}

void Peer::on(const QString &method, const QString &action)
{
    order(QString("on %1 %2").arg(method, action));
}

QVariantList Peer::receive(const QString &signature, const QString &values)
{
    const QString method = "Send";
    on(method, QString("answer %1 %2").arg(signature, values));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(m_name, "/", "test.Peer", method));
    if (reply.signature() != signature) {
        qFatal("the peer does not send %s: %s", qPrintable(signature),
               qPrintable(reply.errorMessage()));
    }
    return reply.arguments();
}

void Peer::freeze()
{
    ::kill(pid_t(m_process.processId()), SIGSTOP);
}

void Peer::thaw()
{
    ::kill(pid_t(m_process.processId()), SIGCONT);
}

void Peer::kill()
{
    m_process.kill();
    waitForEnd();
}

void Peer::waitForEnd()
{
    m_process.waitForEnd();
}
