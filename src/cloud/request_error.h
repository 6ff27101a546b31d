#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>
#include <variant>

namespace VuskAPI {

struct RequestError {
    enum Kind : qint32 { AuthenticationError = 0, ServerError = 1, InternalError = 2 };
    Kind kind = ServerError;
    qint32 code = 0;
    QString description;
};

// A cloud call delivers the expected value (index 0) or the error (index 1).
template <typename T>
using Result = std::variant<T, RequestError>;

template <typename T>
using Callback = std::function<void(const Result<T>&)>;

} // namespace VuskAPI
