// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "stretch_painter.h"

#include "text.h"
#include "trace_words.h"

#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <algorithm>

StretchPainter::StretchPainter(QPainter &painter, const TimelineScene &scene)
    : m_painter(painter)
    , m_scene(scene)
    , m_metrics(painter.font(), painter.device())
{
}

void StretchPainter::paint(int row, const HistoryLane &lane, const std::vector<LaneCell> &marks)
{
    const History &history = *m_scene.history;
    const QRect bar = m_scene.barRect(row);
    const bool isCall = lane.group == TraceWords::Calls;
    // There may be thousands of one pixel each: together, they are one image.
    QImage narrow(bar.width(), 1, QImage::Format_ARGB32_Premultiplied);
    narrow.fill(Qt::transparent);
    auto *const pixels = reinterpret_cast<QRgb *>(narrow.bits());
    bool hasNarrow = false;
    auto mark = marks.begin();
    for (const LaneCell &cell : stretchCells(history, lane, m_scene.scale)) {
        const int left = std::max(cell.left, 0);
        const int width = std::min(cell.right, bar.width()) - left;
        const HistoryEvent &event = history.event(cell.event);
        const StateColor &color = colorOf(lane, event);
        if (width == 1) {
            pixels[left] = color.fill.rgb();
            hasNarrow = true;
        }
        if (width <= 1) {
            continue;
        }
        QRect rect(bar.left() + left, bar.top(), width, bar.height());
        if (isCall && event.isOpen()) {
            // A frame: nothing has come.
            m_painter.setPen(color.fill);
            m_painter.drawRect(rect.adjusted(0, 0, -1, -1));
            continue;
        }
        // A gap between neighbours, where there is room for it.
        constexpr int roomForGap = 4;
        rect.setWidth(width > roomForGap ? width - 1 : width);
        fill(m_painter, rect, color);
        if (!isCall) {
            mark = std::find_if(mark, marks.end(),
                                [left](const LaneCell &each) { return each.right > left; });
            const bool hasMark = mark != marks.end() && mark->left <= left;
            paintName(rect, event, color, hasMark ? mark->right - left : 0);
        }
    }
    if (hasNarrow) {
        m_painter.drawImage(bar, narrow);
    }
}

void StretchPainter::paintName(QRect rect, const HistoryEvent &event, const StateColor &color,
                               int margin)
{
    const int padding = m_metrics.averageCharWidth() / 2 + 1;
    const int left = rect.left() + margin + padding;
    const QString name =
        shortName(m_scene.history->string(event.stretchName), rect.right() - left - padding);
    if (name.isEmpty()) {
        return;
    }
    if (color.pattern != Qt::SolidPattern) {
        // On the pattern it could not be read.
        m_painter.fillRect(
            QRect(left - 1, rect.top(), m_metrics.horizontalAdvance(name) + 2, rect.height()),
            color.fill);
    }
    m_painter.setPen(color.text);
    m_painter.drawText(left, rect.center().y() + m_metrics.capHeight() / 2 + 1, name);
}

// As much of a state's name as there is room for.
QString StretchPainter::shortName(const QString &name, int room) const
{
    if (room < m_metrics.averageCharWidth()) {
        return QString();
    }
    QString whole = onOneLine(name);
    if (m_metrics.horizontalAdvance(whole) <= room) {
        return whole;
    }
    const QString number =
        name.startsWith(TraceWords::state) ? whole.mid(TraceWords::state.size()) : QString();
    return m_metrics.horizontalAdvance(number) <= room ? number : QString();
}

const StateColor &StretchPainter::colorOf(const HistoryLane &lane, const HistoryEvent &event)
{
    // No state has these numbers: they are no strings.
    constexpr quint32 call = ~0U;
    constexpr quint32 failedCall = ~1U;
    constexpr quint32 service = ~2U;
    const quint32 key = lane.group == TraceWords::Calls ? (event.hasFailed ? failedCall : call)
        : lane.group == TraceWords::Service             ? service
                                                        : event.stretchName;
    const auto known = m_colors.constFind(key);
    if (known != m_colors.cend()) {
        return *known;
    }
    return *m_colors.insert(key,
                            key == service          ? StateColor::ofService()
                                : key == call       ? StateColor::ofCall(false)
                                : key == failedCall ? StateColor::ofCall(true)
                                                    : StateColor::of(m_scene.history->string(key)));
}
