// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SHOWN_LOG_H
#define TESTS_SHOWN_LOG_H

#include "event_log_view.h"
#include "recorded_history.h"

#include <memory>

using ShownLog = std::unique_ptr<EventLogView>;

inline ShownLog showLog(RecordedHistory &recorded)
{
    auto view = std::make_unique<EventLogView>();
    view->resize(800, 200);
    view->setHistory(&recorded.history);
    view->show();
    return view;
}

#endif
