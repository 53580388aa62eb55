// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_WARNINGS_H
#define TESTS_WARNINGS_H

#include <QtCore/QStringList>

// Collects what any thread logs as a warning or worse, as long as the object lives. While a second
// collector lives, the first one gets nothing.
class Warnings
{
public:
    enum Printing {
        Printed,
        Silent
    };

    explicit Warnings(Printing printing = Printed);
    ~Warnings();

    QStringList texts() const;

private:
    Q_DISABLE_COPY(Warnings)

    static void collect(QtMsgType type, const QMessageLogContext &context, const QString &text);

    const Printing m_printing;
    QStringList m_texts;
    Warnings *m_earlier;
};

#endif
