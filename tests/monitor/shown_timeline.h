// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SHOWN_TIMELINE_H
#define TESTS_SHOWN_TIMELINE_H

#include "recorded_history.h"
#include "timeline_view.h"

#include <memory>

using ShownTimeline = std::unique_ptr<TimelineView>;

inline ShownTimeline showTimeline(RecordedHistory &recorded)
{
    auto view = std::make_unique<TimelineView>();
    view->resize(900, 400);
    view->setHistory(&recorded.history);
    view->show();
    view->zoomToFit();
    return view;
}

#endif
