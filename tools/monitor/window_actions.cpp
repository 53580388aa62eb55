// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "window_actions.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QIcon>
#include <QtGui/QPainter>
#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QStyle>

namespace
{

QString actionText(const char *text)
{
    return QCoreApplication::translate("WindowActions", text);
}

QAction *newAction(QWidget *parent, const char *text, const char *keys, const char *tip)
{
    auto *action = new QAction(actionText(text), parent);
    action->setShortcut(QKeySequence::fromString(QString::fromLatin1(keys)));
    action->setToolTip(actionText(tip));
    action->setStatusTip(actionText(tip));
    return action;
}

// Those of the style are black, also where everything else is.
QIcon shapeIcon(const QPolygonF &shape, const QColor &color)
{
    constexpr int unit = 16;
    QIcon icon;
    for (const int scale : {1, 2, 4}) {
        QPixmap pixmap(unit * scale, unit * scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawPolygon(shape);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

// What is "..." opens something to fill in first.
WindowActions::WindowActions(QWidget *parent)
    : record(newAction(parent, "&Record to a file...", "Ctrl+R",
                       "Write what happens to a trace file, until the recording is stopped"))
    , stopRecording(newAction(parent, "S&top recording", "Ctrl+Shift+R", "Close the trace file"))
    , save(newAction(parent, "&Save as...", "Ctrl+S",
                     "Write everything that the timeline holds to a trace file"))
    , saveLog(newAction(parent, "Save the lo&g as...", "Ctrl+Shift+S",
                        "Write the rows of the log to a text file"))
    , open(newAction(parent, "&Open a trace...", "Ctrl+O", "Look at a trace file"))
    , backToLive(newAction(parent, "Back to &live", "Ctrl+L", "Close the trace file"))
    , connectAgain(newAction(parent, "&Connect again", "Ctrl+Shift+C",
                             "Start this window anew, with a new connection to the bus"))
    , quit(newAction(parent, "&Quit", "Ctrl+Q", "Close the window"))
    , enterName(newAction(parent, "Start by &name...", "Ctrl+N",
                          "Enter the name of an application to start"))
    , start(newAction(parent, "&Start", "Ctrl+Return", "Start what the row is about"))
    , startDebug(newAction(parent, "Start for &debugging...", "Ctrl+D",
                           "Start an application under other conditions"))
    , stop(newAction(parent, "&Terminate", "Delete", "End what the row is about"))
    , refresh(newAction(parent, "&List again", "F5", "Ask the service what runs"))
    , addTaskType(
          newAction(parent, "&Add tasks of a type...", "Ctrl+T", "Show the tasks of another type"))
    , removeTaskType(
          newAction(parent, "&Remove these tasks", "Ctrl+W", "Close the tab of this type of tasks"))
    , filter(newAction(parent, "&Filter", "Ctrl+F", "Show only what contains a string"))
    , details(newAction(parent, "&Properties", "Ctrl+P", "Show the properties of the row"))
    , follow(newAction(parent, "F&ollow", "Ctrl+E", "Keep the present in sight"))
    , zoomIn(newAction(parent, "Zoom &in", "Ctrl++", "Show less of the timeline"))
    , zoomOut(newAction(parent, "Zoom o&ut", "Ctrl+-", "Show more of the timeline"))
    , zoomToFit(newAction(parent, "&Zoom to fit", "Ctrl+0", "Show all of the timeline"))
    , faultDesk(newAction(parent, "Fault des&k", "Ctrl+K",
                          "Arrange what happens in the simulator's next calls"))
    , dismissErrors(newAction(parent, "&Dismiss errors", "Ctrl+Shift+D", "Remove all errors"))
{
    const QStyle *style = parent->style();
    save->setIcon(style->standardIcon(QStyle::SP_DialogSaveButton));
    open->setIcon(style->standardIcon(QStyle::SP_DialogOpenButton));
    const QColor color = parent->palette().color(QPalette::ButtonText);
    start->setIcon(shapeIcon(QVector<QPointF>{{3, 2}, {14, 8}, {3, 14}}, color));
    stop->setIcon(shapeIcon(QRectF(3, 3, 10, 10), color));
    refresh->setIcon(style->standardIcon(QStyle::SP_BrowserReload));
    details->setCheckable(true);
    follow->setCheckable(true);
    faultDesk->setCheckable(true);
}

void WindowActions::fill(QMenuBar *bar) const
{
    QMenu *file = bar->addMenu(actionText("&File"));
    file->addActions({record, stopRecording});
    file->addSeparator();
    file->addActions({open, save, saveLog, backToLive});
    file->addSeparator();
    file->addActions({connectAgain, quit});
    QMenu *applications = bar->addMenu(actionText("&Applications"));
    applications->addActions({enterName});
    applications->addActions(ofRow());
    applications->addSeparator();
    applications->addAction(refresh);
    bar->addMenu(actionText("&Tasks"))->addActions({addTaskType, removeTaskType});
    bar->addMenu(actionText("&View"))
        ->addActions(
            {filter, details, follow, zoomIn, zoomOut, zoomToFit, faultDesk, dismissErrors});
}
