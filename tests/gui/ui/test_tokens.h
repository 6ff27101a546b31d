#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// A three-segment token whose payload carries the given "data" object.
inline QString tokenWithData(const QJsonObject& data)
{
    const QByteArray payload = QJsonDocument(QJsonObject{{"data", data}}).toJson(QJsonDocument::Compact);
    return "eyJhbGciOiJub25lIn0." + QString::fromLatin1(payload.toBase64()) + ".c2ln";
}
