// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "quiet_test.h"

#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

using Ostrel::ApplicationKind;
using Ostrel::ApplicationState;
using Ostrel::RunningApplication;
using Ostrel::RunningService;
using Ostrel::ServiceState;

namespace
{

// A record whose members all hold something: a member that a reader leaves out is seen.
template <typename Record> Record filled();

template <> RunningApplication filled()
{
    return {"old", 99, ApplicationState(98), ApplicationKind(97), QVariantMap{{"old", 96}}};
}

template <> RunningService filled()
{
    return {"old", "old", 99, ServiceState(98), QVariantMap{{"old", 96}}};
}

} // namespace

// Application records are read from values of any type. busctl sends them, and shares no code with
// Qt.
class TestReadingApplications : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void oneApplicationIsRead_data();
    void oneApplicationIsRead();
    void oneServiceIsRead_data();
    void oneServiceIsRead();
    void manyApplicationsAreRead_data();
    void manyApplicationsAreRead();
    void manyServicesAreRead_data();
    void manyServicesAreRead();
    void qtsListReaderEndsOnAMap();
};

void TestReadingApplications::oneApplicationIsRead_data()
{
    addRows(andOthers(
        {
            {"(siuua{sv})", "a -1 2 3 1 k s v", "a -1 2 3 {k=v}"},
            {"(siuua{sv})", "a 1 4294967295 4294967294 0", "a 1 4294967295 4294967294 {}"},
            {"(siuua{sv}s)", "a 1 2 3 0 more", "a 1 2 3 {}"},
            {"(siuua{sv})", "a 1 2 3 2 k s v k s w", "a 1 2 3 {k=w,k=v}"},
            {"(s)", "a", "a 0 0 0 {}"},
            {"(si)", "a 1", "a 1 0 0 {}"},
            {"(siuu)", "a 1 2 3", "a 1 2 3 {}"},
            {"(ss)", "a b", "a 0 0 0 {}"},
            {"(is)", "1 a", " 0 0 0 {}"},
            {"(iiuua{sv})", "9 1 2 3 1 k s v", " 1 2 3 {k=v}"},
            {"(oiuua{sv})", "/a 1 2 3 1 k s v", " 1 2 3 {k=v}"},
            {"(suuua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(sxuua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(saiuua{sv})", "a 2 8 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(s(i)uua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(svuua{sv})", "a i 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(siiua{sv})", "a 1 9 3 1 k s v", "a 1 0 3 {k=v}"},
            {"(siuia{sv})", "a 1 2 9 1 k s v", "a 1 2 0 {k=v}"},
            {"(siusa{sv})", "a 1 2 x 1 k s v", "a 1 2 0 {k=v}"},
            {"(siuua{ss})", "a 1 2 3 1 k v", "a 1 2 3 {}"},
            {"(siuua{iv})", "a 1 2 3 1 7 s v", "a 1 2 3 {}"},
            {"(siuuas)", "a 1 2 3 1 k", "a 1 2 3 {}"},
            {"(siuuv)", "a 1 2 3 a{sv} 1 k s v", "a 1 2 3 {}"},
            {"(siuu(sv))", "a 1 2 3 k s v", "a 1 2 3 {}"},
            {"((siuua{sv}))", "a 1 2 3 0", " 0 0 0 {}"},
            {"(v)", "(siuua{sv}) a 1 2 3 0", " 0 0 0 {}"},
            {"ai", "2 1 2", " 0 0 0 {}"},
            {"ai", "0", " 0 0 0 {}"},
            {"a(siuua{sv})", "1 a 1 2 3 0", " 0 0 0 {}"},
        },
        " 0 0 0 {}"));
}

void TestReadingApplications::oneApplicationIsRead()
{
    readRow(m_bus, filled<RunningApplication>());
}

void TestReadingApplications::oneServiceIsRead_data()
{
    addRows(andOthers(
        {
            {"(ssiua{sv})", "a b -1 2 1 k s v", "a b -1 2 {k=v}"},
            {"(ssiua{sv})", "a b 1 4294967295 0", "a b 1 4294967295 {}"},
            {"(ssiua{sv}i)", "a b 1 2 0 3", "a b 1 2 {}"},
            {"(s)", "a", "a  0 0 {}"},
            {"(ss)", "a b", "a b 0 0 {}"},
            {"(siuua{sv})", "a 1 2 3 1 k s v", "a  0 3 {k=v}"},
            {"(isiua{sv})", "9 b 1 2 0", " b 1 2 {}"},
            {"(soiua{sv})", "a /b 1 2 0", "a  1 2 {}"},
            {"(ssuua{sv})", "a b 9 2 0", "a b 0 2 {}"},
            {"(ssiia{sv})", "a b 1 9 0", "a b 1 0 {}"},
            {"(ssiua{ss})", "a b 1 2 1 k v", "a b 1 2 {}"},
            {"(ss(iu)a{sv})", "a b 1 2 1 k s v", "a b 0 0 {}"},
            {"a(ssiua{sv})", "1 a b 1 2 0", "  0 0 {}"},
        },
        "  0 0 {}"));
}

void TestReadingApplications::oneServiceIsRead()
{
    readRow(m_bus, filled<RunningService>());
}

void TestReadingApplications::manyApplicationsAreRead_data()
{
    addRows(andOthers(
        {
            {"a(siuua{sv})", "0", ""},
            {"a(siuua{sv})", "2 b 1 2 3 0 a 4 5 6 1 k s v", "b 1 2 3 {}; a 4 5 6 {k=v}"},
            {"a(siuua{sv}s)", "1 a 1 2 3 0 more", "a 1 2 3 {}"},
            {"a(si)", "2 a 1 b 2", "a 1 0 0 {}; b 2 0 0 {}"},
            {"a(ss)", "2 a x b y", "a 0 0 0 {}; b 0 0 0 {}"},
            {"a(si)", "0", ""},
            {"ai", "3 1 2 3", ""},
            {"av", "2 s x (siuua{sv}) a 1 2 3 0", ""},
            {"aa{sv}", "1 1 k s v", ""},
            {"aas", "1 1 x", ""},
            {"(siuua{sv})", "a 1 2 3 0", ""},
        },
        ""));
}

void TestReadingApplications::manyApplicationsAreRead()
{
    readRow(m_bus, QVector<RunningApplication>(2, filled<RunningApplication>()));
}

void TestReadingApplications::manyServicesAreRead_data()
{
    addRows(andOthers(
        {
            {"a(ssiua{sv})", "0", ""},
            {"a(ssiua{sv})", "2 b x 1 2 0 a y 4 5 1 k s v", "b x 1 2 {}; a y 4 5 {k=v}"},
            {"a(siuua{sv})", "1 a 1 2 3 1 k s v", "a  0 3 {k=v}"},
            {"ai", "3 1 2 3", ""},
            {"(ssiua{sv})", "a b 1 2 0", ""},
        },
        ""));
}

void TestReadingApplications::manyServicesAreRead()
{
    readRow(m_bus, QVector<RunningService>(2, filled<RunningService>()));
}

// Qt's reader of lists begins an array even on a map, and reads until its end. So the reader of a
// record must skip each entry.
void TestReadingApplications::qtsListReaderEndsOnAMap()
{
    QList<RunningApplication> applications;
    const QDBusArgument argument = receive(m_bus, "a{sv}", "2 k i 3 l s x");
    argument.beginStructure();
    argument >> applications;
    argument.endStructure();
    QCOMPARE(applications.size(), 2);
    QCOMPARE(text(applications.at(0)), " 0 0 0 {}");
}

OSTREL_TEST_MAIN(TestReadingApplications)

#include "tst_reading_applications.moc"
