// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_SCREENSHOT_H
#define MONITOR_SCREENSHOT_H

#include <QtCore/QString>

class MainWindow;

// Writes a picture of the window to the file as soon as it shows all that it waits for, and ends
// the event loop with the exit status of the program.
void takeScreenshot(MainWindow &window, const QString &file);

#endif
