#include "updater/updater.h"

#include "core/limits.h"
#include "updater/updater_texts.h"

#include <QFile>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QSslConfiguration>
#include <QStandardPaths>
#include <QUrl>

namespace CVUpdater {

namespace {
const QString LocalVersion = QStringLiteral(CORVEL_VERSION);
const QString ManualVersion = QStringLiteral("0.0.0.0");

constexpr std::chrono::milliseconds DefaultStallLimit = std::chrono::seconds(30);

int statusOf(QNetworkReply* reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool isRedirection(QNetworkReply* reply)
{
    const int status = statusOf(reply);
    return status >= 300 && status < 400;
}

constexpr int MaxRedirections = 50;

// Redirections that lead on. The network layer is not left to follow them (nor to swallow any other
// one): it keeps a redirection's body in the reply's read buffer without freeing it, so past that
// buffer it stops reading and the reply ends only if the server happens to close the connection.
bool isFollowed(QNetworkReply* reply)
{
    switch (statusOf(reply)) {
    case 301:
    case 302:
    case 303:
    case 305:
    case 307:
    case 308:
        return QUrl::fromEncoded(reply->rawHeader("Location")).isValid();
    default:
        return false;
    }
}

void closeProgress(DownloadProgress* progress, QObject* receiver)
{
    if (!progress)
        return;
    progress->disconnect(receiver);
    progress->close();
    // May be inside the dialog's own event processing (a modal progress dialog spins events).
    progress->deleteLater();
}
} // namespace

Updater::Updater(const QString& manualUpdateUrl, const QString& descriptorUrl, QObject* parent)
    : QObject(parent)
    , m_manualUpdateUrl(manualUpdateUrl)
    , m_descriptorUrl(descriptorUrl)
{
    m_stallTimer.setSingleShot(true);
    m_stallTimer.setInterval(DefaultStallLimit);
    connect(&m_stallTimer, &QTimer::timeout, this, &Updater::onStalled);
}

Updater::~Updater()
{
    if (auto* downloading = std::get_if<Downloading>(&m_state)) {
        if (downloading->reply) {
            downloading->reply->disconnect(this);
            downloading->reply->abort();
        }
        delete downloading->progress.data();
    }
}

bool Updater::checkForUpdates()
{
    qInfo() << UpdaterTexts::Checking;
    setLastStatus(QString());

    if (!m_manualUpdateUrl.isEmpty()) {
        qInfo().noquote() << QString(UpdaterTexts::ManualUpdateUrl) + m_manualUpdateUrl;
        QMutexLocker lock(&m_mutex);
        m_downloadUrl = m_manualUpdateUrl;
        m_offeredVersion = ManualVersion;
        m_notice = QString(UpdaterTexts::ManualUpdate);
        return true;
    }

    const std::optional<DescriptorRecord> record = fetchDescriptor(m_descriptorUrl);
    if (!record) {
        qCritical() << UpdaterTexts::NoRemoteVersion;
        setLastStatus(QString(UpdaterTexts::NoRemoteVersion));
        return false;
    }
    const std::optional<VersionInfo> remote = parseVersion(record->version);
    if (!remote) {
        qCritical() << UpdaterTexts::WrongRemoteVersion;
        setLastStatus(QString(UpdaterTexts::WrongRemoteVersion));
        return false;
    }
    const std::optional<VersionInfo> local = parseVersion(LocalVersion);
    if (!local) {
        qCritical() << UpdaterTexts::WrongLocalVersion;
        setLastStatus(QString(UpdaterTexts::WrongLocalVersion));
        return false;
    }

    qInfo().noquote() << QString(UpdaterTexts::LocalVersion) + LocalVersion;
    qInfo().noquote() << QString(UpdaterTexts::RemoteVersion) + record->version;
    if (!(*local < *remote)) {
        qInfo() << UpdaterTexts::NotRequired;
        return false;
    }

    {
        QMutexLocker lock(&m_mutex);
        m_downloadUrl = record->downloadUrl;
        m_offeredVersion = record->version;
        m_notice = record->notice;
    }
    qInfo() << UpdaterTexts::Required;
    return true;
}

QString Updater::downloadUrl() const
{
    QMutexLocker lock(&m_mutex);
    return m_downloadUrl;
}

QString Updater::offeredVersion() const
{
    QMutexLocker lock(&m_mutex);
    return m_offeredVersion;
}

QString Updater::notice() const
{
    QMutexLocker lock(&m_mutex);
    return m_notice;
}

QString Updater::lastStatus() const
{
    QMutexLocker lock(&m_mutex);
    return m_lastStatus;
}

bool Updater::isDownloading() const
{
    return std::holds_alternative<Downloading>(m_state);
}

void Updater::setProgressFactory(DownloadProgressFactory factory)
{
    m_progressFactory = std::move(factory);
}

void Updater::setInstallerLauncher(InstallerLauncher launcher)
{
    m_launcher = std::move(launcher);
}

void Updater::setStallLimit(std::chrono::milliseconds limit)
{
    m_stallTimer.setInterval(limit);
}

void Updater::startDownload(QWidget* dialogParent)
{
    // One download at a time, and a finished one must be run or reset first.
    if (!std::holds_alternative<Idle>(m_state)) {
        unexpectedState();
        return;
    }

    qInfo() << UpdaterTexts::StartingDownload;
    setLastStatus(QString(UpdaterTexts::StartingDownload));
    const QString location = downloadUrl();
    qInfo().noquote() << QString(UpdaterTexts::DownloadingUrl) + location;

    Downloading downloading;
    downloading.reply = get(QUrl(location));
    m_state = std::move(downloading);

    if (m_progressFactory) {
        DownloadProgress* progress = m_progressFactory(dialogParent);
        std::get<Downloading>(m_state).progress = progress;
        connect(progress, &DownloadProgress::canceled, this, &Updater::onProgressCanceled);
        progress->open();
    }
    if (isDownloading())
        m_stallTimer.start();
}

QNetworkReply* Updater::get(const QUrl& url)
{
    QNetworkRequest request{url};
    request.setSslConfiguration(QSslConfiguration::defaultConfiguration());
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    // The header the network layer would send anyway; set here, the decoding is ours and bounded.
    request.setRawHeader("Accept-Encoding", Corvel::BoundedBody::AcceptEncoding);
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    QNetworkReply* reply = m_network->get(request);
    // The installer goes to its file as it arrives; the transfer waits while this much is unread.
    reply->setReadBufferSize(Corvel::Limits::ReplyReadBuffer);
    connect(reply, &QNetworkReply::metaDataChanged, this, &Updater::onMetaData);
    connect(reply, &QNetworkReply::readyRead, this, &Updater::onReadyRead);
    connect(reply, &QNetworkReply::finished, this, &Updater::onFinished);
    connect(reply, &QNetworkReply::downloadProgress, this, &Updater::onProgress);
    return reply;
}

void Updater::onProgress(qint64 received, qint64 total)
{
    auto* downloading = std::get_if<Downloading>(&m_state);
    if (!downloading) {
        m_state = Idle{};
        unexpectedState();
        return;
    }
    m_stallTimer.start();
    // A modal dialog spins the event loop here, so the download may be over when this returns.
    if (DownloadProgress* progress = downloading->progress)
        progress->setProgress(received, total);
    qInfo().noquote() << QStringLiteral("Update progress: %1/%2").arg(received).arg(total);
}

void Updater::onMetaData()
{
    m_stallTimer.start();
    auto* downloading = std::get_if<Downloading>(&m_state);
    QNetworkReply* reply = downloading ? downloading->reply.data() : nullptr;
    if (!reply || !isRedirection(reply))
        return;
    // Followed at its head, whatever the server then does with the body and the connection; never
    // from TLS down to plain HTTP. A redirection that goes nowhere is the end.
    const QUrl target = reply->url().resolved(QUrl::fromEncoded(reply->rawHeader("Location")));
    const bool lessSafe = reply->url().scheme() == QLatin1String("https") && target.scheme() != QLatin1String("https");
    if (!isFollowed(reply) || lessSafe || downloading->redirections >= MaxRedirections) {
        abortWith(Fault::Redirection);
        return;
    }
    ++downloading->redirections;
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
    downloading->reply = get(target);
}

void Updater::onStalled()
{
    abortWith(Fault::Stalled);
}

void Updater::abortWith(Fault fault)
{
    auto* downloading = std::get_if<Downloading>(&m_state);
    if (!downloading || !downloading->reply || !downloading->reply->isRunning())
        return;
    if (downloading->fault == Fault::None)
        downloading->fault = fault;
    downloading->reply->abort();
}

void Updater::onReadyRead()
{
    m_stallTimer.start();
    auto* downloading = std::get_if<Downloading>(&m_state);
    QNetworkReply* reply = downloading ? downloading->reply.data() : nullptr;
    // Aborting finishes the reply at once: the completion step reports the fault.
    if (reply && !takeArrived(*downloading, reply) && reply->isRunning())
        reply->abort();
}

bool Updater::takeArrived(Downloading& downloading, QNetworkReply* reply)
{
    // Closed once aborted.
    const QByteArray received = reply->isOpen() ? reply->readAll() : QByteArray();
    // The body of an error page, or of a redirection that was not followed, is no installer.
    if (downloading.fault != Fault::None || reply->error() != QNetworkReply::NoError || isRedirection(reply))
        return downloading.fault == Fault::None;
    if (!downloading.decoder)
        downloading.decoder =
            std::make_shared<Corvel::BoundedBody>(reply->rawHeader("Content-Encoding"), Corvel::Limits::InstallerBytes);
    const QString fileName = installerFileName(offeredVersion());
    const auto status = downloading.decoder->feed(received, [&downloading, &fileName](const char* data, qint64 size) {
        if (!openInstaller(downloading, fileName))
            return false;
        if (downloading.file->write(data, size) < size) {
            downloading.fault = Fault::CannotWrite;
            return false;
        }
        return true;
    });
    if (status == Corvel::BoundedBody::Status::TooLarge)
        downloading.fault = Fault::TooLarge;
    else if (status == Corvel::BoundedBody::Status::Unreadable && downloading.fault == Fault::None)
        downloading.fault = Fault::Undecodable;
    return downloading.fault == Fault::None;
}

void Updater::onFinished()
{
    qInfo() << UpdaterTexts::DownloadFinished;
    m_stallTimer.stop();
    auto* downloading = std::get_if<Downloading>(&m_state);
    if (!downloading) {
        unexpectedState();
        return;
    }
    // A failed download leaves nothing that could be installed; an uncommitted file goes with it.
    Downloading finished = std::move(*downloading);
    m_state = Idle{};
    closeProgress(finished.progress, this);
    QPointer<QNetworkReply> reply = finished.reply;
    if (reply)
        reply->deleteLater();

    if (reply && reply->error() == QNetworkReply::NoError && isRedirection(reply) && finished.fault == Fault::None)
        finished.fault = Fault::Redirection;
    const bool transferred = reply && reply->error() == QNetworkReply::NoError && finished.fault == Fault::None;
    // The rest of the body; an empty installer is still a file.
    if (transferred && takeArrived(finished, reply)) {
        if (finished.decoder && finished.decoder->finish() != Corvel::BoundedBody::Status::Ok)
            finished.fault = Fault::Undecodable;
        else
            openInstaller(finished, installerFileName(offeredVersion()));
    }
    if (!transferred || finished.fault != Fault::None)
        finished.file.reset();

    switch (finished.fault) {
    case Fault::CannotOpen:
        qCritical().noquote() << QString(UpdaterTexts::CannotOpenFileLog) + finished.path;
        fail(QString(UpdaterTexts::CannotOpenFile));
        return;
    case Fault::CannotWrite:
        qCritical().noquote() << QString(UpdaterTexts::CannotOpenFileLog) + finished.path;
        fail(QString(UpdaterTexts::CannotWriteFile));
        return;
    case Fault::TooLarge:
        qWarning().noquote()
            << QStringLiteral("Reply is too large: more than %1 bytes").arg(Corvel::Limits::InstallerBytes);
        break;
    case Fault::Undecodable:
        qWarning().noquote() << "Reply body cannot be decoded, content encoding: " +
                                    QString::fromLatin1(reply ? reply->rawHeader("Content-Encoding") : QByteArray());
        break;
    case Fault::Redirection:
        qWarning().noquote() << QStringLiteral("Reply is a redirection (HTTP %1), which is not followed")
                                    .arg(reply ? statusOf(reply) : 0);
        break;
    case Fault::Stalled:
        qWarning().noquote() << QStringLiteral("Nothing received from the server for %1 ms")
                                    .arg(m_stallTimer.intervalAsDuration().count());
        break;
    case Fault::None:
        if (transferred) {
            saveInstaller(finished);
            return;
        }
        break;
    }
    qCritical() << UpdaterTexts::NoReplyLog;
    fail(QString(UpdaterTexts::NoReply));
}

bool Updater::openInstaller(Downloading& downloading, const QString& fileName)
{
    if (downloading.file)
        return true;
    // Empty when the temporary folder does not exist; the bare "/" + name would point at the root.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    downloading.path = folder + QLatin1Char('/') + fileName;
    if (!folder.isEmpty() && QFile::exists(downloading.path))
        QFile::remove(downloading.path);

    // Written beside the target and renamed at the end, so a failure never leaves half an installer.
    auto file = std::make_shared<QSaveFile>(downloading.path);
    if (folder.isEmpty() || !file->open(QIODevice::WriteOnly)) {
        downloading.fault = Fault::CannotOpen;
        return false;
    }
    downloading.file = std::move(file);
    return true;
}

void Updater::saveInstaller(Downloading& downloading)
{
    QSaveFile& file = *downloading.file;
    if (!file.flush() || !file.commit()) {
        qCritical().noquote() << QString(UpdaterTexts::CannotSaveFileLog) + downloading.path;
        fail(QString(UpdaterTexts::CannotSaveFile));
        return;
    }
    const QString path = downloading.path;
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner | QFileDevice::ExeUser);

    m_installerPath = path;
    m_state = Downloaded{path};
    emit downloadFinished();
}

void Updater::onProgressCanceled()
{
    if (abortDownload()) {
        qInfo() << UpdaterTexts::DownloadCanceledLog;
        setLastStatus(QString(UpdaterTexts::DownloadCanceled));
    }
}

void Updater::cancel()
{
    qInfo() << UpdaterTexts::Cancelling;
    if (abortDownload()) {
        qInfo() << UpdaterTexts::DownloadCanceledLog;
        setLastStatus(QString(UpdaterTexts::DownloadCanceled));
    }
    m_state = Idle{};
    qInfo() << UpdaterTexts::UpdateCanceledLog;
    setLastStatus(QString(UpdaterTexts::UpdateCanceled));
}

void Updater::reset()
{
    abortDownload();
    m_state = Idle{};
}

bool Updater::abortDownload()
{
    auto* downloading = std::get_if<Downloading>(&m_state);
    if (!downloading)
        return false;
    QPointer<QNetworkReply> reply = downloading->reply;
    m_stallTimer.stop();
    closeProgress(downloading->progress, this);
    m_state = Idle{};
    // Disconnected first: an aborted reply still reports finished, and that is no failure.
    if (reply) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
    return true;
}

bool Updater::runUpdate()
{
    const auto* downloaded = std::get_if<Downloaded>(&m_state);
    if (!downloaded) {
        unexpectedState();
        return false;
    }
    qInfo() << UpdaterTexts::RunningLog;
    setLastStatus(QString(UpdaterTexts::Running));
    return m_launcher(downloaded->path, installerArguments());
}

void Updater::unexpectedState()
{
    qCritical() << UpdaterTexts::UnexpectedStateLog;
    setLastStatus(QString(UpdaterTexts::UnexpectedState));
}

void Updater::fail(const QString& status)
{
    setLastStatus(status);
    emit downloadFailed(status);
}

void Updater::setLastStatus(const QString& status)
{
    QMutexLocker lock(&m_mutex);
    m_lastStatus = status;
}

} // namespace CVUpdater
