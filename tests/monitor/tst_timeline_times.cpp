// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history.h"
#include "recorded_history.h"
#include "state_colors.h"
#include "text.h"
#include "time_scale.h"
#include "time_text.h"
#include "widget_test_main.h"

#include <cmath>

// The timeline's times: where they are, what they are called, and the colours between them.
class TestTimelineTimes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void durationHasItsUnit_data();
    void durationHasItsUnit();
    void timesAreThoseOfTheDay();
    void timesCountFromTheBeginningWithoutADay();
    void ticksAreAtRoundTimes_data();
    void ticksAreAtRoundTimes();
    void zoomKeepsThePlace_data();
    void zoomKeepsThePlace();
    void moveComesBackExactly();
    void scaleEndsSomewhere();
    void statesNextToEachOtherDiffer();
    void textIsLegibleOnItsColour();
};

void TestTimelineTimes::durationHasItsUnit_data()
{
    QTest::addColumn<qint64>("microseconds");
    QTest::addColumn<QString>("text");
    const auto row = [](qint64 microseconds, const char *text) {
        QTest::newRow(text) << microseconds << QString::fromUtf8(text);
    };
    row(0, "0 µs");
    row(999, "999 µs");
    row(1000, "1 ms");
    row(1254, "1.25 ms");
    row(999'400, "999 ms");
    row(999'600, "1 s");
    row(12'340'000, "12.3 s");
    row(59'960'000, "1 min");
    row(125'000'000, "2 min 5 s");
    row(3'599'600'000, "1 h");
    row(3'720'000'000, "1 h 2 min");
    row(93'600'000'000, "1 d 2 h");
}

void TestTimelineTimes::durationHasItsUnit()
{
    QFETCH(const qint64, microseconds);
    QTEST(durationText(microseconds), "text");
}

void TestTimelineTimes::timesAreThoseOfTheDay()
{
    RecordedHistory recorded;
    recorded.fill();
    const TimeText text(recorded.history);
    constexpr qint64 begin = 100 * RecordedHistory::second;
    QCOMPARE(text.text(begin + 1'000'001), "12:00:01.000001");
    QCOMPARE(text.text(begin - 1), "11:59:59.999999");
    QCOMPARE(text.day(begin), "Sat 31 Jan 2026");
    QCOMPARE(text.tick(begin + 250'000, 50'000), "12:00:00.250");
    QCOMPARE(text.tick(begin, 5 * RecordedHistory::second), "12:00:00");
    QCOMPARE(text.tick(begin, 60 * RecordedHistory::second), "12:00");
    QCOMPARE(text.tick(begin, 86'400 * RecordedHistory::second), "31 Jan");
}

void TestTimelineTimes::timesCountFromTheBeginningWithoutADay()
{
    History history;
    history.append({TraceEvent::Instant, "x", 500, 0, 1, 1, {}});
    const TimeText text(history);
    QCOMPARE(text.text(1'000'501), "+1.000001 s");
    QCOMPARE(text.text(0), "-0.000500 s");
    QCOMPARE(text.day(0), QString());
    QCOMPARE(text.ticks(0, 2'000'000, 1'000'000), (QVector<qint64>{500, 1'000'500}));
}

void TestTimelineTimes::ticksAreAtRoundTimes_data()
{
    QTest::addColumn<double>("least");
    QTest::addColumn<qint64>("step");
    QTest::newRow("microsecond") << 0.3 << qint64(1);
    QTest::newRow("microseconds") << 30.0 << qint64(50);
    QTest::newRow("milliseconds") << 1001.0 << qint64(2000);
    QTest::newRow("seconds") << 11e6 << qint64(15'000'000);
    QTest::newRow("minutes") << 70e6 << qint64(120'000'000);
    QTest::newRow("hours") << 4e9 << qint64(7'200'000'000);
    QTest::newRow("days") << 100e9 << qint64(172'800'000'000);
}

void TestTimelineTimes::ticksAreAtRoundTimes()
{
    QFETCH(const double, least);
    QFETCH(const qint64, step);
    QCOMPARE(TimeText::step(least), step);
    RecordedHistory recorded;
    recorded.fill();
    const TimeText text(recorded.history);
    const qint64 from = recorded.history.firstTime() + 1;
    const QVector<qint64> ticks = text.ticks(from, from + 5 * step - 1, step);
    QCOMPARE(ticks.size(), 5);
    for (const qint64 tick : ticks) {
        QVERIFY(tick >= from);
        // The trace begins at noon.
        QCOMPARE((tick - recorded.history.firstTime() + 43'200 * RecordedHistory::second)
                     % std::min<qint64>(step, 86'400 * RecordedHistory::second),
                 qint64(0));
    }
}

void TestTimelineTimes::zoomKeepsThePlace_data()
{
    QTest::addColumn<double>("factor");
    QTest::addColumn<int>("times");
    QTest::newRow("in") << 1.25 << 1;
    QTest::newRow("out") << 0.8 << 1;
    QTest::newRow("far in") << 1.25 << 50;
    QTest::newRow("far out") << 0.8 << 50;
}

void TestTimelineTimes::zoomKeepsThePlace()
{
    QFETCH(const double, factor);
    QFETCH(const int, times);
    TimeScale scale;
    scale.setWidth(1000);
    // A time of day is a large number.
    constexpr qint64 today = 1'795'000'000'000'000;
    scale.fit(today, today + 10'000'000);
    constexpr double place = 300;
    const qint64 there = scale.timeAt(place);
    for (int i = 0; i < times; ++i) {
        scale.zoom(factor, place);
    }
    // As exactly as microseconds allow.
    QVERIFY(std::abs(scale.x(there) - place) <= 1 + 1 / scale.perPixel());
    QVERIFY(factor > 1 ? scale.perPixel() < 10'000 : scale.perPixel() > 10'000);
}

void TestTimelineTimes::moveComesBackExactly()
{
    TimeScale scale;
    scale.setWidth(1000);
    constexpr qint64 today = 1'795'000'000'000'000;
    scale.fit(today, today + 100);
    const TimeScale before = scale;
    for (int i = 0; i < 1000; ++i) {
        scale.move(3);
    }
    QCOMPARE(scale.begin(), today + 300);
    for (int i = 0; i < 1000; ++i) {
        scale.move(-3);
    }
    QCOMPARE(qRound(scale.x(today) * 1000), qRound(before.x(today) * 1000));
}

void TestTimelineTimes::scaleEndsSomewhere()
{
    TimeScale scale;
    scale.setWidth(1000);
    for (int i = 0; i < 10'000; ++i) {
        scale.zoom(0.01, 500);
        scale.move(1e9);
    }
    QVERIFY(std::isfinite(scale.x(0)));
    QCOMPARE(scale.pixel(0), -1);
    for (int i = 0; i < 10'000; ++i) {
        scale.zoom(100, 500);
    }
    QVERIFY(scale.perPixel() > 0);
}

void TestTimelineTimes::statesNextToEachOtherDiffer()
{
    for (int i = 0; i < 40; ++i) {
        const StateColor first = StateColor::of(QString("state %1").arg(i));
        for (int j = i + 1; j < i + 21; ++j) {
            const StateColor second = StateColor::of(QString("state %1").arg(j));
            QVERIFY2(first.fill != second.fill || first.pattern != second.pattern,
                     qPrintable(QString("%1 and %2").arg(i).arg(j)));
        }
    }
    StateColor::of(QString());
    StateColor::of("state 4294967295");
    StateColor::of("state -1");
}

void TestTimelineTimes::textIsLegibleOnItsColour()
{
    const auto luminance = [](const QColor &color) {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
            + 0.0722 * linear(color.blueF());
    };
    QVector<StateColor> colors{StateColor::of("started"), StateColor::ofService()};
    for (int i = 0; i < 7; ++i) {
        colors.append(StateColor::of(QString("state %1").arg(i)));
    }
    for (const StateColor &color : qAsConst(colors)) {
        const double a = luminance(color.fill);
        const double b = luminance(color.text);
        const double contrast = (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
        QVERIFY2(contrast >= 4.5, qPrintable(color.fill.name()));
    }
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineTimes)

#include "tst_timeline_times.moc"
