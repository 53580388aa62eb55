// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_EVENT_TEXT_H
#define MONITOR_EVENT_TEXT_H

#include "history.h"

// What is shown of an event, each on one line and free of control characters, whatever the bus
// sent.

// The event's name: "Started", "state 3", or the call.
QString nameText(const History &history, EventId id);

// The instance, or the lane of the service or of the call.
QString laneText(const History &history, EventId id);

// Duration, reply and arguments.
QString detailsText(const History &history, EventId id);

// All of it in a sentence.
QString description(const History &history, EventId id);

// A tool tip that shows the text as it is, where Qt would take some for HTML.
QString plainToolTip(const QString &text);

#endif
