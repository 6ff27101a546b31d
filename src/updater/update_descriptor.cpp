#include "updater/update_descriptor.h"

#include <QDomDocument>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>

namespace CVUpdater {

std::optional<DescriptorRecord> fetchDescriptor(const QString& location)
{
    qInfo().noquote() << QStringLiteral("Looking for download info at: ") + location;

    QNetworkAccessManager manager;
    QNetworkRequest request{QUrl(location)};
    request.setSslConfiguration(QSslConfiguration::defaultConfiguration());
    QNetworkReply* reply = manager.get(request);

    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    // A coarse timer may fire 5 % early.
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timer.start(DescriptorTimeoutMs);
    if (!reply->isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);

    if (!reply->isFinished()) {
        reply->disconnect();
        reply->abort();
        qInfo() << "Cannot get reply from the server";
        return std::nullopt;
    }
    if (reply->error() != QNetworkReply::NoError) {
        qInfo() << "Cannot get reply from the server";
        return std::nullopt;
    }

    const QByteArray body = reply->readAll();
    reply->deleteLater();
    return parseDescriptor(body);
}

std::optional<DescriptorRecord> parseDescriptor(const QByteArray& body)
{
    QDomDocument document;
    if (!document.setContent(body)) {
        qInfo() << "Cannot get info source";
        return std::nullopt;
    }
    const QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("BuildInfo")) {
        qInfo() << "Wrong xml format";
        return std::nullopt;
    }

    DescriptorRecord record;
    QDomElement url = root.firstChildElement(QStringLiteral("MsiPathX64"));
    if (url.isNull())
        url = root.firstChildElement(QStringLiteral("MsiPath"));
    if (url.isNull()) {
        qInfo() << "Cannot get URL";
        return std::nullopt;
    }
    record.downloadUrl = url.text();

    const QDomElement version = root.firstChildElement(QStringLiteral("Version"));
    if (version.isNull()) {
        qInfo() << "Cannot get version";
        return std::nullopt;
    }
    record.version = version.text();

    const QDomElement notice = root.firstChildElement(QStringLiteral("Notice"));
    if (notice.isNull()) {
        qInfo() << "Cannot get notice";
        return std::nullopt;
    }
    record.notice = notice.text();
    return record;
}

} // namespace CVUpdater
