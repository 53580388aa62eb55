// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "warnings.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

namespace
{

QMutex mutex; // clazy:exclude=non-pod-global-static
Warnings *current = nullptr;
QtMessageHandler original = nullptr;

} // namespace

Warnings::Warnings(Printing printing)
    : m_printing(printing)
{
    const QMutexLocker locker(&mutex);
    m_earlier = current;
    current = this;
    if (m_earlier == nullptr) {
        original = qInstallMessageHandler(collect);
    }
}

Warnings::~Warnings()
{
    const QMutexLocker locker(&mutex);
    current = m_earlier;
    if (m_earlier == nullptr) {
        qInstallMessageHandler(original);
    }
}

QStringList Warnings::texts() const
{
    const QMutexLocker locker(&mutex);
    return m_texts;
}

void Warnings::collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg || type == QtCriticalMsg) {
        const QMutexLocker locker(&mutex);
        if (current != nullptr) {
            current->m_texts.append(text);
            if (current->m_printing == Silent) {
                return;
            }
        }
    }
    original(type, context, text);
}
