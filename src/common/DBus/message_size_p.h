// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_MESSAGE_SIZE_P_H
#define OSTREL_DBUS_MESSAGE_SIZE_P_H

#include <QtCore/QString>

namespace Ostrel
{

// Adds up how many bytes values take in a message.
class MessageSize
{
public:
    qint64 bytes() const { return m_bytes; }

    void add(qint64 bytes) { m_bytes += bytes; }
    void align(int boundary) { m_bytes = (m_bytes + boundary - 1) & -qint64(boundary); }

    void addNumber(int size)
    {
        align(size);
        add(size);
    }

    // The length of an array or a string. An array is then padded to the boundary of its elements,
    // even when it is empty.
    void addLength() { addNumber(4); }

    void addString(const QString &string)
    {
        addLength();
        add(utf8Length(string) + 1);
    }

    // A signature has one byte for its length.
    void addSignature(qint64 length) { add(1 + length + 1); }

    // Adds count values of a number type, or of a structure of numbers. For another type, returns
    // false and adds nothing.
    bool addNumbers(const char *type, qint64 count)
    {
        MessageSize one;
        const char *rest = type;
        if (!one.addNumbersOf(rest)) {
            return false;
        }
        const int alignment = alignmentOf(*type);
        align(alignment);
        if (count > 0) {
            const qint64 last = one.bytes();
            one.align(alignment);
            add((count - 1) * one.bytes() + last);
        }
        return true;
    }

    // The size of a number type, or 0 for another type.
    static int ofNumber(char type)
    {
        switch (type) {
        case 'y':
            return 1;
        case 'n':
        case 'q':
            return 2;
        case 'b':
        case 'i':
        case 'u':
            return 4;
        case 'x':
        case 't':
        case 'd':
            return 8;
        default:
            return 0;
        }
    }

    // The boundary on which values of a type begin.
    static int alignmentOf(char type)
    {
        switch (type) {
        case '(':
        case '{':
            return 8;
        case 'a':
        case 'h':
        case 'o':
        case 's':
            return 4;
        default:
            return qMax(1, ofNumber(type));
        }
    }

    static qint64 utf8Length(const QString &string)
    {
        qint64 length = 0;
        for (const QChar unit : string) {
            // Two surrogates make a character of four bytes.
            length += unit < QChar(0x80) ? 1 : unit < QChar(0x800) || unit.isSurrogate() ? 2 : 3;
        }
        return length;
    }

private:
    bool addNumbersOf(const char *&type)
    {
        if (*type != '(') {
            const int size = ofNumber(*type++);
            addNumber(qMax(1, size));
            return size > 0;
        }
        align(8);
        for (++type; *type != ')';) {
            if (!addNumbersOf(type)) {
                return false;
            }
        }
        ++type;
        return true;
    }

    qint64 m_bytes = 0;
};

} // namespace Ostrel

#endif
