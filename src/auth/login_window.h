#pragma once

#include "auth/request_interceptor.h"
#include "widgets/resizable_window.h"

#include <QString>

#include <optional>

class QVBoxLayout;
class QWebEngineView;

namespace TmxAuth {

// Must run before the QApplication exists: the web engine reads these settings when it starts.
void prepareWebEngine();

// The cloud's sign-in page in an embedded browser; accepted as soon as the page hands over a token.
class LoginWindow : public Corvel::ResizableWindow {
    Q_OBJECT

public:
    LoginWindow(const QString& authUrl, const QString& logoutUrl, QWidget* parent = nullptr);
    ~LoginWindow() override;

    // Runs the window modally: the token when accepted, nothing when closed.
    static std::optional<QString> getToken(const QString& authUrl, const QString& logoutUrl,
                                           QWidget* parent = nullptr);

    QString token() const { return m_token; }

public slots:
    void setToken(QString token);
    void doRedirection(QString url);

private:
    static void removeInterceptor();

    QVBoxLayout* m_layout;
    QWebEngineView* m_webView;
    RequestInterceptor m_interceptor;
    QString m_token;
};

} // namespace TmxAuth
