// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "call.h"

#include "method_names_p.h"
#include "simulator.h"
#include "value_text_p.h"
#include "waiting_p.h"

#include <QtTest/QTest>

namespace Ostrel::Testing
{

namespace
{

// How many lines of each of two lists the longest list has that is common to both, from these
// indexes on.
QVector<QVector<int>> commonLengths(const QVector<Call> &received,
                                    const QVector<ExpectedCall> &expected)
{
    QVector<QVector<int>> common(expected.size() + 1, QVector<int>(received.size() + 1, 0));
    for (int i = expected.size() - 1; i >= 0; --i) {
        for (int j = received.size() - 1; j >= 0; --j) {
            common[i][j] = expected.at(i).matches(received.at(j))
                ? common.at(i + 1).at(j + 1) + 1
                : qMax(common.at(i + 1).at(j), common.at(i).at(j + 1));
        }
    }
    return common;
}

} // namespace

QString Call::text() const
{
    QStringList texts;
    for (const QVariant &argument : arguments) {
        texts.append(textOf(argument));
    }
    return QStringLiteral("%1(%2)").arg(textOf(MethodNames{interface, member}),
                                        texts.join(QStringLiteral(", ")));
}

Argument::Argument(const char *utf8)
    : Argument(QVariant(QString::fromUtf8(utf8)))
{
}

Argument::Argument(const QVariant &value)
    : Argument(textOf(value), [expected = textOf(value)](const QVariant &received) {
        return textOf(received) == expected;
    })
{
}

Argument::Argument(const QString &text, const std::function<bool(const QVariant &)> &matches)
    : m_text(text)
    , m_matches(matches)
{
}

Argument anything()
{
    return Argument(QStringLiteral("anything"), [](const QVariant &) { return true; });
}

Argument containing(const QVariantMap &entries)
{
    const auto matches = [entries](const QVariant &received) {
        const QVariant value = plain(received);
        const QVariantMap map = value.toMap();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            if (!map.contains(entry.key())
                || textOf(map.value(entry.key())) != textOf(entry.value())) {
                return false;
            }
        }
        return value.userType() == QMetaType::QVariantMap;
    };
    return Argument(QStringLiteral("containing ") + textOf(entries), matches);
}

Argument satisfying(const QString &description,
                    const std::function<bool(const QVariant &)> &condition)
{
    return Argument(description,
                    [condition](const QVariant &received) { return condition(plain(received)); });
}

ExpectedCall::ExpectedCall(Method method)
    : m_method(method)
{
}

bool ExpectedCall::matches(const Call &call) const
{
    const MethodNames names = namesOf(m_method);
    if (call.interface != names.interface || call.member != names.member) {
        return false;
    }
    if (!m_hasArguments) {
        return true;
    }
    return std::equal(
        m_arguments.cbegin(), m_arguments.cend(), call.arguments.cbegin(), call.arguments.cend(),
        [](const Argument &expected, const QVariant &value) { return expected.matches(value); });
}

QString ExpectedCall::text() const
{
    QStringList texts;
    for (const Argument &argument : m_arguments) {
        texts.append(argument.text());
    }
    return QStringLiteral("%1(%2)").arg(textOf(namesOf(m_method)),
                                        m_hasArguments ? texts.join(QStringLiteral(", "))
                                                       : QStringLiteral("..."));
}

QString difference(const QVector<Call> &received, const QVector<ExpectedCall> &expected)
{
    const QVector<QVector<int>> common = commonLengths(received, expected);
    QStringList lines;
    bool isSame = true;
    const auto add = [&lines, &isSame](char sign, const QString &text) {
        lines.append(QStringLiteral("%1 %2").arg(QLatin1Char(sign)).arg(text));
        isSame = isSame && sign == ' ';
    };
    int i = 0;
    int j = 0;
    while (i < expected.size() || j < received.size()) {
        if (i < expected.size() && j < received.size() && expected.at(i).matches(received.at(j))) {
            add(' ', received.at(j).text());
            ++i;
            ++j;
        } else if (j == received.size()
                   || (i < expected.size() && common.at(i + 1).at(j) >= common.at(i).at(j + 1))) {
            add('-', expected.at(i).text());
            ++i;
        } else {
            add('+', received.at(j).text());
            ++j;
        }
    }
    return isSame ? QString() : lines.join(QLatin1Char('\n'));
}

bool compareCallsWith(const char *file, int line, const Simulator &simulator,
                      const QVector<ExpectedCall> &expected)
{
    QVector<Call> received;
    const bool came = runLoopUntil([&] {
        received = simulator.calls();
        return received.size() >= expected.size();
    });
    const QString lines = difference(received, expected);
    if (lines.isNull()) {
        return true;
    }
    const QString waited = came ? QString() : waitedFor(QStringLiteral("the calls. "));
    QTest::qFail(
        qPrintable(
            QStringLiteral("%1The calls differ (- expected, + received):\n%2").arg(waited, lines)),
        file, line);
    return false;
}

} // namespace Ostrel::Testing
