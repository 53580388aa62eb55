// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/interface_description.h"

#include <QtCore/QFile>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>

InterfaceDescription::InterfaceDescription(const QString &shortName)
    : m_shortName(shortName)
{
    QFile file(QStringLiteral(":/interfaces/%1.xml").arg(shortName));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("no description of the interface %s", qPrintable(shortName));
    }

    QXmlStreamReader reader(&file);
    QXmlStreamWriter writer(&m_xml);
    writer.setAutoFormatting(true);
    QString method;
    QString signal;
    int depth = 0; // within the interface element
    while (!reader.atEnd()) {
        reader.readNext();
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString name = attributes.value(QStringLiteral("name")).toString();
        if (reader.isStartElement()) {
            if (reader.name() == QLatin1String("interface")) {
                m_name = name;
            } else if (reader.name() == QLatin1String("method")) {
                method = name;
                signal.clear();
                m_methods.insert(method, {});
            } else if (reader.name() == QLatin1String("signal")) {
                signal = name;
                m_signals.insert(signal, QString());
            } else if (reader.name() == QLatin1String("arg")) {
                const bool isIn =
                    attributes.value(QStringLiteral("direction")) == QLatin1String("in");
                QString &signature = !signal.isEmpty() ? m_signals[signal]
                    : isIn                             ? m_methods[method].arguments
                                                       : m_methods[method].reply;
                signature += attributes.value(QStringLiteral("type"));
            }
            depth += reader.name() != QLatin1String("node") ? 1 : 0;
        }
        if (depth > 0 && (reader.isStartElement() || reader.isEndElement())) {
            writer.writeCurrentToken(reader);
        }
        if (reader.isEndElement() && depth > 0) {
            --depth;
        }
    }
    if (reader.hasError() || m_name.isEmpty()) {
        qFatal("bad description of the interface %s", qPrintable(shortName));
    }
}
