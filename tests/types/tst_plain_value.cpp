// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "peer.h"
#include "test_bus.h"
#include "warnings.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtCore/QThread>
#include <QtDBus/QDBusUnixFileDescriptor>

#include <memory>
#include <optional>
#include <vector>

using Ostrel::Control;

namespace
{

// Returns the value with the types of everything in it. None of them may belong to QtDBus.
QString described(const QVariant &value)
{
    QStringList texts;
    if (value.userType() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            texts.append(described(element));
        }
        return QString("[%1]").arg(texts.join(", "));
    }
    if (value.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            texts.append(entry.key() + ": " + described(entry.value()));
        }
        return QString("{%1}").arg(texts.join(", "));
    }
    const QString text = value.userType() == QMetaType::QStringList ? value.toStringList().join(' ')
        : value.userType() == QMetaType::QByteArray                 ? value.toByteArray().toHex()
        : value.userType() == QMetaType::UChar ? QString::number(value.toUInt())
                                               : value.toString();
    const char *type = value.typeName();
    return QString("%1(%2)").arg(type != nullptr ? type : "invalid", text);
}

QVariant deepList(int levels)
{
    QVariant value = 3;
    for (int i = 0; i < levels; ++i) {
        value = QVariantList{value};
    }
    return value;
}

} // namespace

// Received values are converted to plain Qt types.
class TestPlainValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void receivedValuesBecomePlain_data();
    void receivedValuesBecomePlain();
    void deepestMessagesAreRead();
    void descriptorsStayDescriptors();
    void ownValuesBecomePlain();
    void writtenArgumentsAreInvalid();
    void partlyReadArgumentsDoNotMove();
    void tooDeepValuesAreCut();
    void anyThreadMayRead();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_peer;
    const Warnings m_warnings;
};

void TestPlainValue::initTestCase()
{
    m_bus.emplace();
    m_peer.emplace(*m_bus);
}

void TestPlainValue::cleanup()
{
    QCOMPARE(m_warnings.texts(), QStringList());
}

void TestPlainValue::receivedValuesBecomePlain_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("plain");
    const auto row = [](const char *signature, const char *words, const char *plain) {
        QTest::addRow("%s: %s", signature, words) << signature << words << plain;
    };
    row("y", "7", "uchar(7)");
    row("b", "true", "bool(true)");
    row("n", "-3", "short(-3)");
    row("q", "3", "ushort(3)");
    row("i", "-3", "int(-3)");
    row("u", "3", "uint(3)");
    row("x", "-3", "qlonglong(-3)");
    row("t", "3", "qulonglong(3)");
    row("d", "1.5", "double(1.5)");
    row("s", "x", "QString(x)");
    row("o", "/a", "QString(/a)");
    row("g", "a{sv}", "QString(a{sv})");
    row("ay", "2 1 2", "QByteArray(0102)");
    row("as", "2 x y", "QStringList(x y)");
    row("v", "s x", "QString(x)");
    row("v", "v v i 3", "int(3)");
    row("v", "ao 1 /a", "[QString(/a)]");

    row("ai", "2 3 4", "[int(3), int(4)]");
    row("ao", "1 /a", "[QString(/a)]");
    row("ag", "1 as", "[QString(as)]");
    row("av", "3 i 3 s x av 1 v i 4", "[int(3), QString(x), [int(4)]]");
    row("aai", "2 1 3 0", "[[int(3)], []]");
    row("aas", "2 1 x 0", "[QStringList(x), QStringList()]");
    row("(is)", "3 x", "[int(3), QString(x)]");
    row("(i(s(o)))", "3 x /a", "[int(3), [QString(x), [QString(/a)]]]");
    row("a(is)", "2 3 x 4 y", "[[int(3), QString(x)], [int(4), QString(y)]]");
    row("(iaia{sv}v)", "3 2 4 5 1 k i 6 o /a",
        "[int(3), [int(4), int(5)], {k: int(6)}, QString(/a)]");

    row("a{sv}", "2 k i 3 l a(is) 1 4 x", "{k: int(3), l: [[int(4), QString(x)]]}");
    row("a{sv}", "2 k i 3 k i 4", "{k: int(4)}");
    row("a{ss}", "1 k x", "{k: QString(x)}");
    row("a{is}", "2 3 x -4 y", "{-4: QString(y), 3: QString(x)}");
    row("a{ys}", "1 65 x", "{65: QString(x)}");
    row("a{bs}", "1 true x", "{true: QString(x)}");
    row("a{xs}", "1 -5000000000 x", "{-5000000000: QString(x)}");
    row("a{ds}", "1 1.5 x", "{1.5: QString(x)}");
    row("a{oi}", "1 /a 3", "{/a: int(3)}");
    row("a{gi}", "1 as 3", "{as: int(3)}");
    row("a{sa{sa(ii)}}", "1 k 1 l 1 3 4", "{k: {l: [[int(3), int(4)]]}}");
    row("aa{sv}", "2 1 k i 3 0", "[{k: int(3)}, {}]");

    row("ai", "0", "[]");
    row("av", "0", "[]");
    row("a(is)", "0", "[]");
    row("a{sv}", "0", "{}");
    row("a{is}", "0", "{}");
    row("ay", "0", "QByteArray()");
    row("as", "0", "QStringList()");
}

void TestPlainValue::receivedValuesBecomePlain()
{
    QFETCH(const QString, signature);
    QFETCH(const QString, words);
    QFETCH(const QString, plain);
    // The value alone, and in an array, a structure and a map, each before another value.
    const QVariant value = m_peer->receive(signature, words).constFirst();
    QCOMPARE(described(Control::toPlainValue(value)), plain);
    // Reading did not move the value.
    QCOMPARE(described(Control::toPlainValue(value)), plain);

    const QString more = "uint(9)";
    const QVariantList arguments =
        m_peer->receive(QString("(%1u)a{sv}").arg(signature),
                        QString("%2 9 2 k %1 %2 l u 9").arg(signature, words));
    QCOMPARE(described(Control::toPlainValue(arguments.at(0))),
             QString("[%1, %2]").arg(plain, more));
    QCOMPARE(described(Control::toPlainValue(arguments.at(1))),
             QString("{k: %1, l: %2}").arg(plain, more));
}

// As many containers of all kinds as the bus delivers.
void TestPlainValue::deepestMessagesAreRead()
{
    const auto compare = [this](const QString &signature, const QString &words,
                                const QString &plain) {
        QCOMPARE(described(Control::toPlainValue(m_peer->receive(signature, words).constFirst())),
                 plain);
    };
    compare("v", QString("v ").repeated(57) + "i 3", "int(3)");
    const int lists = deepestMessage() / 2;
    compare("av", QString("1 av ").repeated(lists - 1) + "1 i 3",
            QString("[").repeated(lists) + "int(3)" + QString("]").repeated(lists));
    compare(QString("(").repeated(32) + "i" + QString(")").repeated(32), "3",
            QString("[").repeated(32) + "int(3)" + QString("]").repeated(32));
    compare("a{sv}", QString("1 k a{sv} ").repeated(20) + "1 k i 3",
            QString("{k: ").repeated(21) + "int(3)" + QString("}").repeated(21));
}

void TestPlainValue::descriptorsStayDescriptors()
{
    const QVariantList values = m_peer->receive("hah", "x 2 x x");
    QVERIFY(Control::toPlainValue(values.at(0)).value<QDBusUnixFileDescriptor>().isValid());
    const QVariantList list = Control::toPlainValue(values.at(1)).toList();
    QCOMPARE(list.size(), 2);
    QVERIFY(list.at(1).value<QDBusUnixFileDescriptor>().isValid());
}

void TestPlainValue::ownValuesBecomePlain()
{
    const QVariantMap map{
        {"path", QVariant::fromValue(QDBusObjectPath("/a"))},
        {"list", QVariantList{QVariant::fromValue(QDBusVariant(3)), "x", QVariant()}}};
    QCOMPARE(described(Control::toPlainValue(map)),
             "{list: [int(3), QString(x), invalid()], path: QString(/a)}");
    QVERIFY(!Control::toPlainValue(QVariant()).isValid());
    QCOMPARE(Control::toPlainValue(QVariant::fromValue(QSize(1, 2))).toSize(), QSize(1, 2));
}

void TestPlainValue::writtenArgumentsAreInvalid()
{
    QDBusArgument written;
    written.beginArray(qMetaTypeId<int>());
    written << 3;
    written.endArray();
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(written)).isValid());
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(QDBusArgument())).isValid());
    QCOMPARE(described(Control::toPlainValue(QVariantList{QVariant::fromValue(written), 3})),
             "[invalid(), int(3)]");
    // The argument can still be sent.
    QCOMPARE(written.currentSignature(), "ai");
}

// The caller has begun to read, and continues afterwards.
void TestPlainValue::partlyReadArgumentsDoNotMove()
{
    const auto argument =
        m_peer->receive("(i(ss)a{is}s)", "3 x y 1 4 z end").constFirst().value<QDBusArgument>();
    argument.beginStructure();
    // A basic value has no argument to read.
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(argument)).isValid());
    int number = 0;
    argument >> number;
    QCOMPARE(number, 3);
    QCOMPARE(described(Control::toPlainValue(QVariant::fromValue(argument))),
             "[QString(x), QString(y)]");
    QCOMPARE(argument.currentSignature(), "(ss)");
    argument.beginStructure();
    argument.endStructure();
    argument.beginMap();
    argument.beginMapEntry();
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(argument)).isValid());
    argument.endMapEntry();
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(argument)).isValid());
    argument.endMap();
    QString end;
    argument >> end;
    QCOMPARE(end, "end");
    QVERIFY(!Control::toPlainValue(QVariant::fromValue(argument)).isValid());
    argument.endStructure();
}

void TestPlainValue::tooDeepValuesAreCut()
{
    QVariant value = Control::toPlainValue(deepList(127));
    for (int i = 0; i < 127; ++i) {
        QCOMPARE(value.toList().size(), 1);
        value = value.toList().constFirst();
    }
    QCOMPARE(value, QVariant(3));

    value = Control::toPlainValue(deepList(2000));
    for (int i = 0; i < 128; ++i) {
        QCOMPARE(value.toList().size(), 1);
        value = value.toList().constFirst();
    }
    QVERIFY(!value.isValid());
}

// Copies of a value share the message that they read from.
void TestPlainValue::anyThreadMayRead()
{
    const QVariant value = m_peer->receive("a{sa(is)}", "1 k 2 3 x 4 y").constFirst();
    std::vector<QString> texts(4);
    std::vector<std::unique_ptr<QThread>> threads;
    for (QString &text : texts) {
        threads.emplace_back(QThread::create([value, &text] {
            for (int i = 0; i < 1000; ++i) {
                text = described(Control::toPlainValue(value));
            }
        }));
        threads.back()->start();
    }
    for (const auto &thread : threads) {
        thread->wait();
    }
    for (const QString &text : texts) {
        QCOMPARE(text, "{k: [[int(3), QString(x)], [int(4), QString(y)]]}");
    }
}

OSTREL_TEST_MAIN(TestPlainValue)

#include "tst_plain_value.moc"
