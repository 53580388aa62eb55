// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_STRING_POOL_H
#define MONITOR_STRING_POOL_H

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVector>

// Strings of which there are few different ones, each stored once.
class StringPool
{
public:
    quint32 add(const QString &string)
    {
        const auto known = m_numbers.constFind(string);
        if (known != m_numbers.cend()) {
            return *known;
        }
        const auto number = quint32(m_strings.size());
        m_numbers.insert(string, number);
        m_strings.append(string);
        m_bytes += string.size() * qint64(sizeof(QChar));
        return number;
    }

    const QString &at(quint32 number) const { return m_strings.at(int(number)); }

    qint64 bytes() const { return m_bytes; }

private:
    QHash<QString, quint32> m_numbers;
    QVector<QString> m_strings;
    qint64 m_bytes = 0;
};

#endif
