// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_WINDOW_ACTIONS_H
#define MONITOR_WINDOW_ACTIONS_H

#include <QtCore/QList>

class QAction;
class QMenuBar;
class QString;
class QWidget;

// Everything that the user can do, with its shortcuts.
struct WindowActions
{
    explicit WindowActions(QWidget *parent);

    void fill(QMenuBar *bar) const;
    // What is done with a row.
    QList<QAction *> ofRow() const { return {start, startDebug, stop}; }

    // The file.
    QAction *record;
    QAction *stopRecording;
    QAction *save;
    QAction *saveLog;
    QAction *open;
    QAction *backToLive;
    QAction *connectAgain;
    QAction *quit;
    // What runs.
    QAction *enterName;
    QAction *start;
    QAction *startDebug;
    QAction *stop;
    QAction *refresh;
    QAction *addTaskType;
    QAction *removeTaskType;
    // What is shown.
    QAction *filter;
    QAction *details;
    QAction *follow;
    QAction *zoomIn;
    QAction *zoomOut;
    QAction *zoomToFit;
    QAction *faultDesk;
    QAction *dismissErrors;
};

#endif
