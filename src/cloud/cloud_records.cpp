#include "cloud/cloud_records.h"

#include "cloud/cloud_texts.h"
#include "core/limits.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace VuskAPI {

namespace {

quint64 toUnsigned64(const QJsonValue& value)
{
    const double number = value.toDouble();
    // Out-of-range conversion would be undefined; such an id reads as 0.
    if (!(number >= 0.0) || number >= 18446744073709551616.0)
        return 0;
    return static_cast<quint64>(number);
}

// A document nested deeper than the limit reads as malformed: empty values.
QJsonDocument boundedDocument(const QByteArray& body)
{
    if (!Corvel::Limits::jsonDepthWithin(body)) {
        qWarning().noquote() << QStringLiteral("JSON nested deeper than %1 levels").arg(Corvel::Limits::JsonDepth);
        return QJsonDocument();
    }
    return QJsonDocument::fromJson(body);
}

template <typename Record, typename Read> QList<Record> parseList(const QByteArray& body, Read read)
{
    QList<Record> records;
    if (body.isEmpty()) {
        qWarning().noquote() << CloudTexts::EmptyJson;
        return records;
    }
    const QJsonArray array = boundedDocument(body).array();
    if (array.size() > Corvel::Limits::CloudListRecords) {
        qWarning().noquote() << QStringLiteral("JSON list of %1 records is longer than %2; it is ignored")
                                    .arg(array.size())
                                    .arg(Corvel::Limits::CloudListRecords);
        return records;
    }
    records.reserve(array.size());
    for (const QJsonValue& element : array)
        records.append(read(element.toObject()));
    return records;
}

bool emptyObjectBody(const QByteArray& body)
{
    if (!body.isEmpty())
        return false;
    qWarning().noquote() << CloudTexts::EmptyJson;
    return true;
}

} // namespace

QList<TmxClient> parseClients(const QByteArray& body)
{
    return parseList<TmxClient>(body, [](const QJsonObject& object) {
        TmxClient client;
        client.id = toUnsigned64(object.value(QStringLiteral("id_")));
        client.username = object.value(QStringLiteral("username")).toString();
        client.name = object.value(QStringLiteral("name")).toString();
        return client;
    });
}

QList<ClientDataSource> parseDataSources(const QByteArray& body)
{
    return parseList<ClientDataSource>(body, [](const QJsonObject& object) {
        ClientDataSource source;
        source.id = toUnsigned64(object.value(QStringLiteral("id_")));
        source.name = object.value(QStringLiteral("name")).toString();
        source.url = object.value(QStringLiteral("url")).toString();
        source.sid = object.value(QStringLiteral("sid")).toString();
        source.type = object.value(QStringLiteral("type")).toString();
        return source;
    });
}

QList<ProtectedDevice> parseDevices(const QByteArray& body)
{
    return parseList<ProtectedDevice>(body, [](const QJsonObject& object) {
        ProtectedDevice device;
        device.id = object.value(QStringLiteral("id_")).toInt();
        device.name = object.value(QStringLiteral("name")).toString();
        return device;
    });
}

DeviceToken parseDeviceToken(const QByteArray& body)
{
    DeviceToken token;
    if (emptyObjectBody(body))
        return token;
    const QJsonObject object = boundedDocument(body).object();
    token.url = object.value(QStringLiteral("url")).toString();
    token.token = object.value(QStringLiteral("token")).toString();
    return token;
}

QString parsePassphrase(const QByteArray& body)
{
    if (emptyObjectBody(body))
        return QString();
    return boundedDocument(body).object().value(QStringLiteral("passphrase")).toString();
}

} // namespace VuskAPI
