// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TERMINATION_H
#define TOOLS_TERMINATION_H

#include <QtCore/QObject>

// Emits a signal from the event loop after SIGTERM or SIGINT.
class Termination : public QObject
{
    Q_OBJECT

public:
    explicit Termination(QObject *parent = nullptr);
    ~Termination() override;

    // Whether one of them has arrived, for long loops outside the event loop.
    static bool wasRequested();

Q_SIGNALS:
    void requested();

private:
    Q_DISABLE_COPY(Termination)

    int m_readEnd = -1;
};

#endif
