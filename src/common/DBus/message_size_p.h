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
    // What the bus protocol allows.
    static constexpr qint64 maximumArray = 64 << 20;
    static constexpr qint64 maximumMessage = 128 << 20;

    // What is sure to come back in an answer, with room for the rest of it.
    static constexpr qint64 maximumPath = 32 << 20;

    qint64 bytes() const { return m_bytes; }

    void add(qint64 bytes) { m_bytes += bytes; }
    void align(int boundary) { m_bytes = (m_bytes + boundary - 1) & -qint64(boundary); }

    void addNumber(int size)
    {
        align(size);
        add(size);
    }

    // The length that stands before the elements of an array or the bytes of a text.
    void addLength() { addNumber(4); }

    // The same with padding behind it, which an array of entries or structures has without any,
    // too.
    void addLengthOfContainers()
    {
        addLength();
        align(8);
    }

    // Its own length stands before it.
    void addSignature(const char *signature) { add(1 + qint64(qstrlen(signature)) + 1); }

    void addText(const QString &text)
    {
        addLength();
        add(1 + utf8Length(text));
    }

    // The size of a number of a type, or 0 for another type.
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

    static qint64 utf8Length(const QString &text)
    {
        qint64 length = 0;
        for (const QChar unit : text) {
            // Two surrogates make a character of four bytes.
            length += unit < QChar(0x80) ? 1 : unit < QChar(0x800) || unit.isSurrogate() ? 2 : 3;
        }
        return length;
    }

private:
    qint64 m_bytes = 0;
};

} // namespace Ostrel

#endif
