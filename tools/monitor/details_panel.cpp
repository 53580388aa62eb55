// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "details_panel.h"

#include <Ostrel/Control>

#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QHeaderView>

namespace
{

// A map from the bus may be large and deep.
constexpr int mostItems = 1000;
constexpr int deepest = 10;

class DetailsTree
{
public:
    void add(QTreeWidgetItem *parent, const QString &name, const QVariant &value, int depth)
    {
        if (++m_count > mostItems) {
            return;
        }
        auto *item = new QTreeWidgetItem(parent, {shown(name), QString()});
        const bool isList = value.userType() == QMetaType::QVariantList
            || value.userType() == QMetaType::QStringList;
        if (depth < deepest && value.userType() == QMetaType::QVariantMap) {
            const QVariantMap map = value.toMap();
            for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
                add(item, entry.key(), entry.value(), depth + 1);
            }
        } else if (depth < deepest && isList) {
            int number = 0;
            const QVariantList list = value.toList();
            for (const QVariant &element : list) {
                add(item, QString::number(++number), element, depth + 1);
            }
        } else {
            item->setText(1, shown(value));
        }
        item->setExpanded(true);
    }

private:
    int m_count = 0;
};

} // namespace

DetailsPanel::DetailsPanel(QWidget *parent)
    : QTreeWidget(parent)
{
    setHeaderLabels({tr("Property"), tr("Value")});
    setAccessibleName(tr("Properties of the selected row"));
    setUniformRowHeights(true);
    setTabKeyNavigation(false);
    setAlternatingRowColors(true);
}

void DetailsPanel::show(const Details &details)
{
    clear();
    DetailsTree tree;
    for (const Detail &detail : details) {
        tree.add(invisibleRootItem(), detail.name, Ostrel::Control::toPlainValue(detail.value), 0);
    }
    resizeColumnToContents(0);
}

void DetailsPanel::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy) && currentItem() != nullptr) {
        QGuiApplication::clipboard()->setText(currentItem()->text(1));
        return;
    }
    QTreeWidget::keyPressEvent(event);
}
