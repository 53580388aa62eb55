// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "keeper.h"

using Ostrel::Control;

Keeper::Keeper(const QString &appId)
    : m_appId(appId)
{
    // The signal comes for every instance of every application.
    connect(&m_control, &Control::terminated, this, [this](const QString &instance) {
        if (instance == m_instance) {
            m_instance.clear();
            start();
        }
    });
    // A new service knows nothing of the instance.
    connect(&m_control, &Control::serviceAvailableChanged, this, [this](bool available) {
        m_instance.clear();
        if (available) {
            start();
        }
    });
}

void Keeper::start()
{
    if (m_isStarting) {
        return;
    }
    m_isStarting = true;
    ++m_tries;
    m_control.start(m_appId, this, [this](const Control::StartResult &result) {
        m_isStarting = false;
        if (result.error) {
            tryAgain(result.error);
        } else {
            m_tries = 0;
            m_instance = result.appInstanceId;
            Q_EMIT started(m_instance);
        }
    });
}

void Keeper::tryAgain(const Ostrel::Error &error)
{
    if (m_tries < maximumTries) {
        start();
    } else {
        m_tries = 0;
        Q_EMIT failed(error.message());
    }
}
