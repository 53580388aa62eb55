// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_INSTANCE_FIELD_H
#define MONITOR_DESK_INSTANCE_FIELD_H

#include <QtWidgets/QComboBox>

class QAbstractItemModel;

// The name of an instance. Offers those that run when its list is opened.
class InstanceField : public QComboBox
{
    Q_OBJECT

public:
    explicit InstanceField(QWidget *parent = nullptr);

    // The column of the model has the instances.
    void setSource(const QAbstractItemModel *model, int column);

    void showPopup() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void refresh();

    const QAbstractItemModel *m_model = nullptr;
    int m_column = 0;
};

#endif
