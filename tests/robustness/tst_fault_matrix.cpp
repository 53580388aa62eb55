// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faults/matrix.h"

#include <Ostrel/Testing/Main>

#include <iostream>

// Every operation of the library meets everything that the bus, the service or another peer can do
// to it. The caller sees one outcome, and nothing is left behind. A fault makes a call fail, but
// never the program.
class TestFaultMatrix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase();

    void callsSurviveFailuresOfBusAndService();
    void errorRepliesReachTheCaller();
    void valuesOfWrongTypesAreHarmless();
    void mapsMayHoldAnything();
    void longestStringsArrive();
    void parametersCannotBeSent();

private:
    void run(const std::vector<Fault> &faults);

    Matrix m_matrix;
};

void TestFaultMatrix::run(const std::vector<Fault> &faults)
{
    const QStringList failures = m_matrix.run(faults);
    for (const QString &failure : failures) {
        std::cout << qPrintable(failure) << std::endl;
    }
    QCOMPARE(failures.size(), 0);
}

void TestFaultMatrix::cleanupTestCase()
{
    std::cout
        << m_matrix.cells()
        << " cells. A number is the code of the error that the caller gets; + is a signal that "
           "is taken, - one that is not."
        << std::endl;
}

void TestFaultMatrix::callsSurviveFailuresOfBusAndService()
{
    run(faultsOfLife());
}

void TestFaultMatrix::errorRepliesReachTheCaller()
{
    run(faultsOfErrors());
}

void TestFaultMatrix::valuesOfWrongTypesAreHarmless()
{
    run(faultsOfTypes());
}

void TestFaultMatrix::mapsMayHoldAnything()
{
    run(faultsInMaps());
}

void TestFaultMatrix::longestStringsArrive()
{
    run(faultsOfLengths());
}

void TestFaultMatrix::parametersCannotBeSent()
{
    run(faultsOfParameters());
}

int main(int argc, char **argv)
{
    if (argc > 3 && qstrcmp(argv[1], "--apart") == 0) {
        const QCoreApplication application(argc, argv);
        return tryApart(QCoreApplication::arguments().at(2), QCoreApplication::arguments().mid(3));
    }
    Ostrel::Testing::isolate();
    const QCoreApplication application(argc, argv);
    TestFaultMatrix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fault_matrix.moc"
