// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_LIVE_ROWS_P_H
#define OSTREL_LIVE_ROWS_P_H

#include "Ostrel/live_model_p.h"

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace Ostrel
{

// What makes two records of successive lists one row. Several records of a list may have the same
// identity.
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
// A Row is made of a Record and the time. It has value(column), and update(record, time), which
// takes over a record and returns the columns that it has changed, a bit each. identityOf() takes a
// Row or a Record; isRowOf(record) compares the two without a copy.
template <typename Row> class LiveRows : public LiveModelPrivate
{
public:
    using LiveModelPrivate::LiveModelPrivate;
    using List = QVector<typename Row::Record>;

    int size() const override { return static_cast<int>(m_rows.size()) - m_gapSize; }

    QVariant value(int row, int column) const override
    {
        return m_rows[index(row < m_gap ? row : row + m_gapSize)].value(column);
    }

    // Has the model show a status, after a list if there is one.
    //
    // A slot may run an event loop that calls this again. The earlier list is then finished first.
    void show(const std::optional<List> &list, LiveModel::Status status,
              const Error &error = Error())
    {
        if (list) {
            m_list = list;
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
    // For each row the number of its record, or -1.
    using Matches = std::vector<int>;

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    // These return early if a slot has deleted the model.
    void replace(const List &list, const QPointer<LiveModel> &self)
    {
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        Matches matches(m_rows.size(), -1);
        const std::vector<int> added = match(list, matches);
        remove(matches, self);
        if (!self.isNull()) {
            update(list, matches, now, self);
        }
        if (!self.isNull() && !added.empty()) {
            beginInsertRows(size(), size() + static_cast<int>(added.size()) - 1);
            for (const int i : added) {
                m_rows.emplace_back(list.at(i), now);
            }
            endInsertRows();
        }
    }

    // Finds the record of each row. Returns the records without a row.
    //
    // Most lists are as the one before, with a record more or less, so rows and records are
    // compared side by side first. Only what does not meet there is looked up.
    std::vector<int> match(const List &list, Matches &matches) const
    {
        const int rows = static_cast<int>(m_rows.size());
        std::vector<int> oldRows;
        std::vector<int> newRecords;
        int row = 0;
        int record = 0;
        while (row < rows && record < list.size()) {
            if (isMatch(list, row, record)) {
                matches[index(row++)] = record++;
            } else if (isMatch(list, row, record + 1)) {
                newRecords.push_back(record++);
            } else if (isMatch(list, row + 1, record)) {
                oldRows.push_back(row++);
            } else {
                oldRows.push_back(row++);
                newRecords.push_back(record++);
            }
        }
        for (; row < rows; ++row) {
            oldRows.push_back(row);
        }
        for (; record < list.size(); ++record) {
            newRecords.push_back(record);
        }
        if (oldRows.empty() || newRecords.empty()) {
            return newRecords;
        }

        QMultiHash<Identity, int> unmatched;
        unmatched.reserve(static_cast<int>(newRecords.size()));
        // Of equal identities, the hash returns the one that was inserted last.
        for (auto i = newRecords.crbegin(); i != newRecords.crend(); ++i) {
            unmatched.insert(Row::identityOf(list.at(*i)), *i);
        }
        for (const int i : oldRows) {
            const auto found = unmatched.find(Row::identityOf(m_rows[index(i)]));
            if (found != unmatched.end()) {
                matches[index(i)] = found.value();
                unmatched.erase(found);
            }
        }
        std::vector<int> added(unmatched.cbegin(), unmatched.cend());
        std::sort(added.begin(), added.end());
        return added;
    }

    bool isMatch(const List &list, int row, int record) const
    {
        return row < static_cast<int>(m_rows.size()) && record < list.size()
            && m_rows[index(row)].isRowOf(list.at(record));
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
    void update(const List &list, const Matches &matches, qint64 now,
                const QPointer<LiveModel> &self)
    {
        int first = 0;
        quint32 pending = 0;
        const int end = size();
        for (int row = 0; row < end; ++row) {
            const quint32 changed = m_rows[index(row)].update(list.at(matches[index(row)]), now);
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

    std::vector<Row> m_rows;
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
