#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>
#include <utility>
#include <variant>

namespace VuskAPI {

struct RequestError {
    enum Kind : qint32 { AuthenticationError = 0, ServerError = 1, InternalError = 2 };

    RequestError(Kind kind = ServerError, qint32 code = 0, QString description = {}, int httpStatus = 0,
                 QString reason = {})
        : kind(kind), code(code), description(std::move(description)), httpStatus(httpStatus), reason(std::move(reason))
    {
    }

    Kind kind = ServerError;
    qint32 code = 0;
    QString description;
    // What the server answered when it did (0 and empty for transport failures); the network
    // layer's code alone cannot tell an HTTP 500 from a lost connection.
    int httpStatus = 0;
    QString reason;

    // "HTTP status: 500, reason: Internal Server Error" after `separator`, or nothing when no
    // server answered.
    QString serverAnswer(const QString& separator) const
    {
        if (!httpStatus)
            return {};
        QString answer = separator + QStringLiteral("HTTP status: ") + QString::number(httpStatus);
        if (!reason.isEmpty())
            answer += QStringLiteral(", reason: ") + reason;
        return answer;
    }
};

// A cloud call delivers the expected value (index 0) or the error (index 1).
template <typename T>
using Result = std::variant<T, RequestError>;

template <typename T>
using Callback = std::function<void(const Result<T>&)>;

} // namespace VuskAPI
