#pragma once

#include <QString>
#include <QWebEngineUrlRequestInterceptor>

#include <atomic>

namespace TmxAuth {

// The address the sign-in site navigates to with the token appended; only ever compared against.
QString tokenSentinel();

// Watches every request of the sign-in view. Runs on the web engine's own thread, so it only
// emits signals (connect them queued).
class RequestInterceptor : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    RequestInterceptor(const QString& authUrl, bool logoutPending, QObject* parent = nullptr);

    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
    // The decision for one request address, apart from the engine's request object.
    void inspect(const QString& url);

    bool logoutPending() const { return m_logoutPending; }

signals:
    void sendToken(QString token);
    void redirect(QString url);

private:
    QString m_authUrl;
    std::atomic<bool> m_logoutPending;
    QString m_token;
};

} // namespace TmxAuth
