#include "updater/update_descriptor.h"

#include "core/bounded_body.h"
#include "core/limits.h"
#include "updater/updater_texts.h"

#include <QDomDocument>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>

#include <memory>

namespace CVUpdater {

std::optional<DescriptorRecord> fetchDescriptor(const QString& location)
{
    qInfo().noquote() << QString(UpdaterTexts::LookingForInfo) + location;

    // Outlive the manager, which takes the reply with it.
    QByteArray body;
    std::unique_ptr<Corvel::BoundedBody> decoder;
    QNetworkAccessManager manager;
    QNetworkRequest request{QUrl(location)};
    request.setSslConfiguration(QSslConfiguration::defaultConfiguration());
    // The header the network layer would send anyway; set here, the decoding is ours and bounded.
    request.setRawHeader("Accept-Encoding", Corvel::BoundedBody::AcceptEncoding);
    QNetworkReply* reply = manager.get(request);
    reply->setReadBufferSize(Corvel::Limits::ReplyReadBuffer);

    // Taken as it arrives, so that a body past the limit (counted decoded) is never held whole.
    const auto take = [reply, &body, &decoder] {
        // Closed once aborted.
        const QByteArray received = reply->isOpen() ? reply->readAll() : QByteArray();
        if (!decoder)
            decoder = std::make_unique<Corvel::BoundedBody>(reply->rawHeader("Content-Encoding"),
                                                            Corvel::Limits::DescriptorBytes);
        const auto status = decoder->feed(received, [&body](const char* data, qint64 size) {
            body.append(data, int(size));
            return true;
        });
        if (status != Corvel::BoundedBody::Status::Ok && reply->isRunning())
            reply->abort();
    };
    QObject::connect(reply, &QNetworkReply::readyRead, reply, take);

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
        qInfo() << UpdaterTexts::NoReply;
        return std::nullopt;
    }
    take();
    const Corvel::BoundedBody::Status decoding = decoder->finish();
    if (decoding == Corvel::BoundedBody::Status::TooLarge) {
        qWarning().noquote()
            << QStringLiteral("Reply is too large: more than %1 bytes").arg(Corvel::Limits::DescriptorBytes);
        qInfo() << UpdaterTexts::NoReply;
        return std::nullopt;
    }
    if (reply->error() != QNetworkReply::NoError) {
        qInfo() << UpdaterTexts::NoReply;
        return std::nullopt;
    }
    if (decoding == Corvel::BoundedBody::Status::Unreadable) {
        qWarning().noquote() << "Reply body cannot be decoded, content encoding: " +
                                    QString::fromLatin1(reply->rawHeader("Content-Encoding"));
        qInfo() << UpdaterTexts::NoReply;
        return std::nullopt;
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status >= 300 && status < 400) {
        qWarning().noquote() << QStringLiteral("Reply is a redirection (HTTP %1), which is not followed").arg(status);
        qInfo() << UpdaterTexts::NoReply;
        return std::nullopt;
    }
    return parseDescriptor(body);
}

std::optional<DescriptorRecord> parseDescriptor(const QByteArray& body)
{
    // The DOM parse recurses per element level: the depth is checked first, without recursion.
    switch (Corvel::Limits::scanXml(body)) {
    case Corvel::Limits::XmlScan::TooDeep:
        qWarning().noquote() << QStringLiteral("XML nested deeper than %1 levels").arg(Corvel::Limits::XmlDepth);
        qInfo() << UpdaterTexts::NoInfoSource;
        return std::nullopt;
    case Corvel::Limits::XmlScan::Malformed:
        qInfo() << UpdaterTexts::NoInfoSource;
        return std::nullopt;
    case Corvel::Limits::XmlScan::Ok:
        break;
    }

    QDomDocument document;
    if (!document.setContent(body)) {
        qInfo() << UpdaterTexts::NoInfoSource;
        return std::nullopt;
    }
    const QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("BuildInfo")) {
        qInfo() << UpdaterTexts::WrongXml;
        return std::nullopt;
    }

    DescriptorRecord record;
    QDomElement url = root.firstChildElement(QStringLiteral("MsiPathX64"));
    if (url.isNull())
        url = root.firstChildElement(QStringLiteral("MsiPath"));
    if (url.isNull()) {
        qInfo() << UpdaterTexts::NoUrl;
        return std::nullopt;
    }
    record.downloadUrl = url.text();

    const QDomElement version = root.firstChildElement(QStringLiteral("Version"));
    if (version.isNull()) {
        qInfo() << UpdaterTexts::NoVersion;
        return std::nullopt;
    }
    record.version = version.text();

    const QDomElement notice = root.firstChildElement(QStringLiteral("Notice"));
    if (notice.isNull()) {
        qInfo() << UpdaterTexts::NoNotice;
        return std::nullopt;
    }
    record.notice = notice.text();
    return record;
}

} // namespace CVUpdater
