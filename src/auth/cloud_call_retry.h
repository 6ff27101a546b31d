#pragma once

#include "auth/sign_in_flows.h"
#include "cloud/request_error.h"

#include <QString>

#include <functional>
#include <memory>

class QWidget;

namespace TmxAuth {

// The retry policy every wizard page applies to its cloud calls: a failed call is repeated at once
// after a re-sign-in, and up to `retries` times after a server or internal error; then the error is
// shown and the counter starts over.
class CloudCallRetry {
public:
    // authUrl is where a re-sign-in after an expired session goes.
    CloudCallRetry(AuthSession* session, QWidget* parent, int retries, QString authUrl);

    void setTokenSource(TokenSource source) { m_tokenSource = std::move(source); }
    int retries() const { return m_retries; }
    int used() const { return m_used; }
    void reset() { m_used = 0; }

    // `issue` starts the call with the callback it is given (e.g. a VuskRequest operation).
    // `onSuccess` gets the value; `onFailure`, if any, the error that was finally given up on.
    template <typename T>
    void run(const QString& name, std::function<void(VuskAPI::Callback<T>)> issue,
             std::function<void(const T&)> onSuccess, std::function<void(const VuskAPI::RequestError&)> onFailure = {});

private:
    // True when the call is to be issued again.
    bool retryAfter(const QString& name, const VuskAPI::RequestError& error);

    AuthSession* m_session;
    QWidget* m_parent;
    int m_retries;
    QString m_authUrl;
    int m_used = 0;
    TokenSource m_tokenSource;
};

template <typename T>
void CloudCallRetry::run(const QString& name, std::function<void(VuskAPI::Callback<T>)> issue,
                         std::function<void(const T&)> onSuccess,
                         std::function<void(const VuskAPI::RequestError&)> onFailure)
{
    // Each pending callback keeps the attempt alive; the attempt itself only refers to it weakly.
    auto attempt = std::make_shared<std::function<void()>>();
    std::weak_ptr<std::function<void()>> weak = attempt;
    *attempt = [this, name, issue, onSuccess, onFailure, weak]() {
        std::shared_ptr<std::function<void()>> self = weak.lock();
        issue([this, name, onSuccess, onFailure, self](const VuskAPI::Result<T>& result) {
            if (const T* value = std::get_if<0>(&result)) {
                m_used = 0;
                onSuccess(*value);
                return;
            }
            const VuskAPI::RequestError& error = std::get<1>(result);
            if (retryAfter(name, error))
                (*self)();
            else if (onFailure)
                onFailure(error);
        });
    };
    (*attempt)();
}

} // namespace TmxAuth
