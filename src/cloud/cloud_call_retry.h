#pragma once

#include "cloud/request_error.h"

#include <QString>

#include <functional>
#include <memory>

namespace VuskAPI {

// Logs what kind of failure a cloud call met ("Server Error. Error code: ..." or "Internal Error. ...").
void logFailureKind(const RequestError& error);

// The retry policy of the wizard's cloud calls: a failed call is repeated at once after a new
// sign-in, and up to `retries` times after a server or internal error; then the error is reported
// and the counter starts over. The windows above supply the sign-in and the report.
class CloudCallRetry {
public:
    // Signs the operator in again after an expired session; true when the call may be repeated.
    using ReSignIn = std::function<bool()>;
    // Shows the error finally given up on.
    using Report = std::function<void(const RequestError&)>;

    CloudCallRetry(int retries, ReSignIn reSignIn, Report report);

    int used() const { return m_used; }
    void reset() { m_used = 0; }

    // `issue` starts the call with the callback it is given (e.g. a VuskRequest operation).
    // `onSuccess` gets the value; `onFailure`, if any, the error that was finally given up on.
    template <typename T>
    void run(const QString& name, std::function<void(Callback<T>)> issue, std::function<void(const T&)> onSuccess,
             std::function<void(const RequestError&)> onFailure = {});

private:
    // True when the call is to be issued again.
    bool retryAfter(const QString& name, const RequestError& error);

    int m_retries;
    ReSignIn m_reSignIn;
    Report m_report;
    int m_used = 0;
};

template <typename T>
void CloudCallRetry::run(const QString& name, std::function<void(Callback<T>)> issue,
                         std::function<void(const T&)> onSuccess, std::function<void(const RequestError&)> onFailure)
{
    // Each pending callback keeps the attempt alive; the attempt itself only refers to it weakly.
    auto attempt = std::make_shared<std::function<void()>>();
    std::weak_ptr<std::function<void()>> weak = attempt;
    *attempt = [this, name, issue, onSuccess, onFailure, weak]() {
        std::shared_ptr<std::function<void()>> self = weak.lock();
        issue([this, name, onSuccess, onFailure, self](const Result<T>& result) {
            if (const T* value = std::get_if<0>(&result)) {
                m_used = 0;
                onSuccess(*value);
                return;
            }
            const RequestError& error = std::get<1>(result);
            if (retryAfter(name, error))
                (*self)();
            else if (onFailure)
                onFailure(error);
        });
    };
    (*attempt)();
}

} // namespace VuskAPI
