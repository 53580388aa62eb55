// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_DESK_PAGE_H
#define MONITOR_DESK_DESK_PAGE_H

#include <QtWidgets/QScrollArea>

class DeskForm;
class QVBoxLayout;

// A page of the dock: forms in a narrow column, which scrolls.
class DeskPage : public QScrollArea
{
    Q_OBJECT

public:
    explicit DeskPage(const QString &name);

    // The forms do not scroll sideways.
    QSize minimumSizeHint() const override;

protected:
    // A form with a title; the first may have none.
    DeskForm *addForm(const QString &title = QString());
    // Leaves the rest of the height empty.
    void addGap();

private:
    QVBoxLayout *m_layout;
};

#endif
