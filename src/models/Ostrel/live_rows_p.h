// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_LIVE_ROWS_P_H
#define OSTREL_LIVE_ROWS_P_H

#include "Ostrel/live_model_p.h"

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace Ostrel
{

// What makes two records of successive lists one row. Several records of a list may have the same
// identity; their order then decides.
struct Identity
{
    QString first;
    QString second;
    qint32 pid;

    friend bool operator==(const Identity &left, const Identity &right)
    {
        return left.pid == right.pid && left.first == right.first && left.second == right.second;
    }

    friend uint qHash(const Identity &identity, uint seed)
    {
        return ::qHash(identity.first, seed) ^ (::qHash(identity.second, seed) * 31)
            ^ ::qHash(identity.pid, seed);
    }
};

// Rows that take over one list after the other, each in time linear in the two lists.
//
// A Row has identity(), value(column), and update(row), which takes over the values of another one
// and returns the columns that it has changed, a bit each.
template <typename Row> class LiveRows : public LiveModelPrivate
{
public:
    using LiveModelPrivate::LiveModelPrivate;
    using List = std::vector<Row>;

    int size() const override { return static_cast<int>(m_rows.size()) - m_gapSize; }

    QVariant value(int row, int column) const override
    {
        return m_rows[index(row < m_gap ? row : row + m_gapSize)].value(column);
    }

    // Has the model show a status, after a list if there is one.
    //
    // A slot may run an event loop that calls this again. The earlier list is then finished first.
    void show(std::optional<List> list, LiveModel::Status status, const Error &error = Error())
    {
        if (list) {
            m_list = std::move(list);
        }
        m_statusToShow = status;
        m_errorToShow = error;
        m_hasMore = true;
        if (m_isShowing) {
            return;
        }
        m_isShowing = true;
        const QPointer<LiveModel> self(model());
        while (m_hasMore) {
            m_hasMore = false;
            if (m_list) {
                const List next = *std::exchange(m_list, std::nullopt);
                const int before = size();
                replace(next, self);
                if (!self.isNull() && size() != before) {
                    announceCount();
                }
            }
            if (!self.isNull() && !m_hasMore) {
                setStatus(m_statusToShow, m_errorToShow);
            }
            if (self.isNull()) {
                return;
            }
        }
        m_isShowing = false;
    }

private:
    using Matches = std::vector<int>;

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    // These return early if a slot has deleted the model.
    void replace(const List &list, const QPointer<LiveModel> &self)
    {
        // Most lists begin as the one before.
        const std::size_t common = std::min(list.size(), m_rows.size());
        std::size_t same = 0;
        while (same < common && list[same].identity() == m_rows[same].identity()) {
            ++same;
        }
        Matches matches(m_rows.size(), -1);
        std::iota(matches.begin(), matches.begin() + static_cast<int>(same), 0);
        QMultiHash<Identity, int> unmatched;
        unmatched.reserve(static_cast<int>(list.size() - same));
        // Of equal identities, the hash returns the one that was inserted last.
        for (std::size_t i = list.size(); i-- > same;) {
            unmatched.insert(list[i].identity(), static_cast<int>(i));
        }
        for (std::size_t row = same; row < m_rows.size(); ++row) {
            const auto match = unmatched.find(m_rows[row].identity());
            if (match != unmatched.end()) {
                matches[row] = match.value();
                unmatched.erase(match);
            }
        }
        std::vector<int> added(unmatched.cbegin(), unmatched.cend());
        std::sort(added.begin(), added.end());

        remove(matches, self);
        if (!self.isNull()) {
            update(list, matches, self);
        }
        if (!self.isNull() && !added.empty()) {
            beginInsertRows(size(), size() + static_cast<int>(added.size()) - 1);
            for (const int i : added) {
                m_rows.push_back(list[index(i)]);
            }
            endInsertRows();
        }
    }

    // Removes the rows without a match. While slots run, a gap separates the rows that are done
    // from the others, so that each row is moved once.
    void remove(Matches &matches, const QPointer<LiveModel> &self)
    {
        const int end = static_cast<int>(m_rows.size());
        int kept = 0;
        for (int row = 0; row < end;) {
            if (matches[index(row)] >= 0) {
                if (kept != row) {
                    m_rows[index(kept)] = std::move(m_rows[index(row)]);
                    matches[index(kept)] = matches[index(row)];
                }
                ++kept;
                ++row;
                continue;
            }
            const int first = row;
            while (row < end && matches[index(row)] < 0) {
                ++row;
            }
            m_gap = kept;
            beginRemoveRows(kept, kept + row - first - 1);
            m_gapSize = row - kept;
            endRemoveRows();
            if (self.isNull()) {
                return;
            }
        }
        m_gapSize = 0;
        m_rows.erase(m_rows.begin() + kept, m_rows.end());
        matches.resize(m_rows.size());
    }

    // Adjacent rows with the same changes share a signal.
    void update(const List &list, const Matches &matches, const QPointer<LiveModel> &self)
    {
        int first = 0;
        quint32 pending = 0;
        const int end = size();
        for (int row = 0; row < end; ++row) {
            const quint32 changed = m_rows[index(row)].update(list[index(matches[index(row)])]);
            if (changed == pending) {
                continue;
            }
            if (pending != 0) {
                announceChange(first, row - 1, pending);
                if (self.isNull()) {
                    return;
                }
            }
            first = row;
            pending = changed;
        }
        if (pending != 0) {
            announceChange(first, end - 1, pending);
        }
    }

    List m_rows;
    int m_gap = 0;
    int m_gapSize = 0;
    bool m_isShowing = false;
    // What show() was given last.
    std::optional<List> m_list;
    LiveModel::Status m_statusToShow = LiveModel::Loading;
    Error m_errorToShow;
    bool m_hasMore = false;
};

} // namespace Ostrel

#endif
