// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_INTERFACE_DESCRIPTION_H
#define SIMULATOR_INTERFACE_DESCRIPTION_H

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

// One bus interface, as its introspection XML describes it.
class InterfaceDescription
{
public:
    // Reads the XML of the short name, such as "WindowManagement1", from the program's resources.
    explicit InterfaceDescription(const QString &shortName);

    QString name() const { return m_name; }
    QString shortName() const { return m_shortName; }

    // The interface element alone, for the reply to "Introspect".
    QString xml() const { return m_xml; }

    // In alphabetical order.
    QStringList methodNames() const { return sorted(m_methods.keys()); }
    QStringList signalNames() const { return sorted(m_signals.keys()); }

    bool hasMethod(const QString &method) const { return m_methods.contains(method); }

    // The signature of a method's arguments.
    QString signature(const QString &method) const { return m_methods.value(method).arguments; }

    // The signature of the reply to a method.
    QString replySignature(const QString &method) const { return m_methods.value(method).reply; }

    bool hasSignal(const QString &signal) const { return m_signals.contains(signal); }
    QString signalSignature(const QString &signal) const { return m_signals.value(signal); }

private:
    static QStringList sorted(QStringList names)
    {
        names.sort();
        return names;
    }

    struct Signatures
    {
        QString arguments;
        QString reply;
    };

    QString m_shortName;
    QString m_name;
    QString m_xml;
    QHash<QString, Signatures> m_methods;
    QHash<QString, QString> m_signals;
};

#endif
