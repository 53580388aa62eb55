// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "variant_map.h"

#include "../../support/variant_containers.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QLineF>
#include <QtCore/QRectF>
#include <QtCore/QUrl>
#include <QtCore/QVariantHash>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

// A caller's own type that is a map on the bus and converts to another map.
struct Settings
{
    QString name;
};

Q_DECLARE_METATYPE(Settings)

QDBusArgument &operator<<(QDBusArgument &argument, const Settings &settings)
{
    return argument << QVariantMap{{settings.name, 1}};
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Settings & /*settings*/)
{
    return argument;
}

namespace
{

// The received value for the map that is being made, and what the map is.
QVariant receivedValue;
bool isKnown = true;

// Deeper than any message, but not too slow to make.
constexpr int maximumDepth = 100;

QString takeText(Bytes &bytes)
{
    // UTF-16 of any kind, with null characters and single surrogates.
    if (bytes.takeIf('~')) {
        QString text;
        for (int left = bytes.takeCount(); left > 0; --left) {
            text += QChar(bytes.takeNumber<quint16>());
        }
        return text;
    }
    return QString::fromStdString(bytes.takeString());
}

QJsonValue takeJson(Bytes &bytes, int depth)
{
    switch (bytes.take()) {
    case 'b':
        return bytes.take() % 2 == 1;
    case 'd':
        return bytes.takeNumber<qint32>() / 8.0;
    case 's':
        return takeText(bytes);
    case '[': {
        QJsonArray array;
        for (int left = bytes.takeCount(); left > 0 && depth > 0; --left) {
            array.append(takeJson(bytes, depth - 1));
        }
        return array;
    }
    case '{': {
        QJsonObject object;
        for (int left = bytes.takeCount(); left > 0 && depth > 0; --left) {
            const QString key = takeText(bytes);
            object.insert(key, takeJson(bytes, depth - 1));
        }
        return object;
    }
    case 'u':
        return QJsonValue(QJsonValue::Undefined);
    default:
        return QJsonValue::Null;
    }
}

QVariant takeVariant(Bytes &bytes, int depth);

QVariantMap takeMap(Bytes &bytes, int depth)
{
    QVariantMap map;
    for (int left = bytes.takeCount(); left > 0 && depth > 0; --left) {
        const QString key = takeText(bytes);
        map.insert(key, takeVariant(bytes, depth - 1));
    }
    return map;
}

// A number in nested structures.
void writeStructures(QDBusArgument &argument, int count)
{
    for (int level = 0; level < count; ++level) {
        argument.beginStructure();
    }
    argument << 1;
    for (int level = 0; level < count; ++level) {
        argument.endStructure();
    }
}

// Whole values, as a caller writes them. libdbus aborts if a signature becomes too long, so there
// is only one value if it is deep.
QDBusArgument takeArgument(Bytes &bytes)
{
    QDBusArgument argument;
    if (bytes.takeIf('(')) {
        writeStructures(argument, bytes.takeCount() * 3);
        return argument;
    }
    for (int left = bytes.takeCount(); left > 0; --left) {
        switch (bytes.take()) {
        case 'i':
            argument << bytes.takeNumber<qint32>();
            break;
        case 's':
            argument << takeText(bytes);
            break;
        case 'a':
            argument << QStringList{takeText(bytes)};
            break;
        case '{':
            argument << QVariantMap{{takeText(bytes), 1}};
            break;
        case 'v':
            argument << QDBusVariant(takeText(bytes));
            break;
        default:
            writeStructures(argument, 2);
        }
    }
    return argument;
}

template <typename Number> QVariant takeNumber(Bytes &bytes)
{
    return QVariant::fromValue(bytes.takeNumber<Number>());
}

QVariant takeSimple(Bytes &bytes, std::uint8_t code)
{
    switch (code) {
    case 'b':
        return bytes.take() % 2 == 1;
    case 'y':
        return takeNumber<uchar>(bytes);
    case 'n':
        return takeNumber<short>(bytes);
    case 'q':
        return takeNumber<ushort>(bytes);
    case 'i':
        return takeNumber<int>(bytes);
    case 'u':
        return takeNumber<uint>(bytes);
    case 'x':
        return takeNumber<qlonglong>(bytes);
    case 't':
        return takeNumber<qulonglong>(bytes);
    case 'd':
        return static_cast<double>(bytes.takeNumber<qint64>()) / 8;
    case 's':
        return takeText(bytes);
    case 'S':
        return QStringList{takeText(bytes), QString()};
    case 'B':
        return QByteArray::fromStdString(bytes.takeString());
    case 'o':
        return QVariant::fromValue(QDBusObjectPath('/' + takeText(bytes)));
    case 'O':
        return QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath()});
    case 'g':
        return QVariant::fromValue(QDBusSignature(takeText(bytes)));
    case 'h':
        return QVariant::fromValue(QDBusUnixFileDescriptor(bytes.take() % 2 == 0 ? -1 : 0));
    case 'l':
        return QVariant::fromValue(QList<int>{1, 2});
    case 'D':
        return QDateTime::fromSecsSinceEpoch(bytes.takeNumber<quint32>(), Qt::UTC);
    case 'P':
        return QVariant::fromValue(
            QList<QPointF>(QVector<QPointF>(bytes.takeCount(), QPointF(1, 2)).toList()));
    case 'Q':
        return QRectF(1, 2, 3, 4);
    case 'T':
        return QVariant::fromValue(
            QList<QTime>(QVector<QTime>(bytes.takeCount(), QTime(1, 2)).toList()));
    case 'X':
        isKnown = false;
        return QVariant::fromValue(Settings{takeText(bytes)});
    // Values that have no form on the bus.
    case 'f':
        return QVariant::fromValue(1.5F);
    case 'c':
        return QChar('c');
    case 'U':
        return QUrl("file:///");
    case 'p':
        return QVariant::fromValue(static_cast<QObject *>(nullptr));
    case '0':
        return QVariant::fromValue(nullptr);
    default:
        return QVariant();
    }
}

QVariant takeVariant(Bytes &bytes, int depth)
{
    if (depth <= 0) {
        return takeSimple(bytes, bytes.take());
    }
    const std::uint8_t code = bytes.take();
    switch (code) {
    case 'm':
        return takeMap(bytes, depth);
    case 'H': {
        QVariantHash hash;
        const QVariantMap map = takeMap(bytes, depth);
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            hash.insert(entry.key(), entry.value());
        }
        return hash;
    }
    case 'L': {
        QVariantList list;
        for (int left = bytes.takeCount(); left > 0; --left) {
            list.append(takeVariant(bytes, depth - 1));
        }
        return list;
    }
    case 'v':
        return QVariant::fromValue(QDBusVariant(takeVariant(bytes, depth - 1)));
    case 'j':
        return takeJson(bytes, depth);
    case 'J':
        return takeJson(bytes, depth).toObject();
    case 'A':
        return takeJson(bytes, depth).toArray();
    case 'a':
        isKnown = false;
        return QVariant::fromValue(takeArgument(bytes));
    case 'Z':
        return receivedValue;
    case 'V': {
        Variants variants;
        for (int left = bytes.takeCount(); left > 0; --left) {
            variants.append(takeVariant(bytes, depth - 1));
        }
        return QVariant::fromValue(variants);
    }
    case 'W': {
        NumberedVariants variants;
        for (int left = bytes.takeCount(); left > 0; --left) {
            variants.insert(left, takeVariant(bytes, depth - 1));
        }
        return QVariant::fromValue(variants);
    }
    case 'N': {
        QMap<QString, QVariantMap> maps;
        for (int left = bytes.takeCount(); left > 0; --left) {
            maps.insert(takeText(bytes), takeMap(bytes, depth - 1));
        }
        return QVariant::fromValue(maps);
    }
    case 'G':
        return QVariant::fromValue(QVector<QJsonObject>{takeJson(bytes, depth).toObject()});
    case 'E':
        return QVariant::fromValue(QVector<QJsonArray>{takeJson(bytes, depth).toArray()});
    case 'r':
        return QVariant::fromValue(
            Ostrel::ActiveTask{takeText(bytes), bytes.takeNumber<qint32>(), takeMap(bytes, depth)});
    case 'R':
        return QVariant::fromValue(
            QVector<Ostrel::AvailableTask>{{takeText(bytes), takeMap(bytes, depth)}});
    case 'M':
        return QVariant::fromValue(QList<QVariantMap>{takeMap(bytes, depth)});
    default:
        return takeSimple(bytes, code);
    }
}

} // namespace

void registerVariantTypes()
{
    static bool isRegistered = false;
    if (isRegistered) {
        return;
    }
    isRegistered = true;
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<QList<QVariantMap>>();
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<QVector<QJsonObject>>();
    qDBusRegisterMetaType<QVector<QJsonArray>>();
    qDBusRegisterMetaType<QList<QPointF>>();
    qDBusRegisterMetaType<QList<QTime>>();
    qDBusRegisterMetaType<Settings>();
    qDBusRegisterMetaType<Variants>();
    qDBusRegisterMetaType<NumberedVariants>();
    QMetaType::registerConverter<Settings, QVariantMap>(
        [](const Settings &settings) -> QVariantMap {
            return {{settings.name, QVariant()}};
        });
}

GivenMap takeMap(Bytes &bytes, const QVariant &received)
{
    receivedValue = received;
    isKnown = true;
    const QVariantMap map = takeMap(bytes, maximumDepth);
    receivedValue = QVariant();
    return {map, isKnown};
}
