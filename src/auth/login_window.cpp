#include "auth/login_window.h"

#include "core/settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QVBoxLayout>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include <utility>

namespace TmxAuth {

void prepareWebEngine()
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
#ifndef Q_OS_WIN
    // The engine's sandbox cannot start for root, nor in most containers; the view only ever shows
    // the sign-in site.
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
#endif
}

LoginWindow::LoginWindow(const QString& authUrl, const QString& logoutUrl, QWidget* parent)
    : Corvel::ResizableWindow(parent)
    , m_layout(contentLayout())
    , m_webView(new QWebEngineView(this))
    , m_interceptor(authUrl, !logoutUrl.isEmpty())
{
    setObjectName(QStringLiteral("browser_window"));
    setWindowTitle(QStringLiteral("Corvel"));
    m_webView->setObjectName(QStringLiteral("web_view"));
    m_webView->setAttribute(Qt::WA_StyledBackground);
    m_webView->setContentsMargins(1, 1, 1, 1);
    m_layout->addWidget(m_webView, 1);
    resize(1000, 720);

    QString working =
        Corvel::readRegistryString(QString::fromLatin1(Corvel::RegistryKey), QStringLiteral("WorkingDir"));
    if (working.isEmpty())
        working = QStringLiteral(".");

    QWebEngineProfile* profile = QWebEngineProfile::defaultProfile();
    profile->setUrlRequestInterceptor(&m_interceptor);
    // The page that hands the token over, and the address carrying it, would be cached: the cache
    // stays in memory, and what an earlier version left on disk goes (once, before the engine has
    // been pointed there).
    const QString cachePath = working + QStringLiteral("/LoginWindowCache");
    static bool staleCacheRemoved = false;
    if (!std::exchange(staleCacheRemoved, true))
        QDir(cachePath).removeRecursively();
    profile->setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    profile->setCachePath(cachePath);
    profile->setPersistentStoragePath(working + QStringLiteral("/LoginWindowPersistentStorage"));

    connect(&m_interceptor, &RequestInterceptor::sendToken, this, &LoginWindow::setToken, Qt::QueuedConnection);
    connect(&m_interceptor, &RequestInterceptor::redirect, this, &LoginWindow::doRedirection, Qt::QueuedConnection);

    m_webView->load(QUrl(logoutUrl.isEmpty() ? authUrl : logoutUrl));
}

LoginWindow::~LoginWindow()
{
    removeInterceptor();
}

void LoginWindow::removeInterceptor()
{
    QWebEngineProfile::defaultProfile()->setUrlRequestInterceptor(nullptr);
}

std::optional<QString> LoginWindow::getToken(const QString& authUrl, const QString& logoutUrl, QWidget* parent)
{
    LoginWindow window(authUrl, logoutUrl, parent);
    const int result = window.exec();
    removeInterceptor();
    if (result != QDialog::Accepted)
        return std::nullopt;
    return window.m_token;
}

void LoginWindow::setToken(QString token)
{
    m_token = token;
    accept();
}

void LoginWindow::doRedirection(QString url)
{
    m_webView->load(QUrl(url));
}

} // namespace TmxAuth
