// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DETAILS_PANEL_H
#define MONITOR_DETAILS_PANEL_H

#include "display.h"

#include <QtWidgets/QTreeWidget>

// What is known about the selected row, as a tree of names and values.
class DetailsPanel : public QTreeWidget
{
    Q_OBJECT

public:
    explicit DetailsPanel(QWidget *parent = nullptr);

    void show(const Details &details);

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

#endif
