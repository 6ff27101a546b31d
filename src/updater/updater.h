#pragma once

#include "build_config.h"
#include "core/bounded_body.h"
#include "updater/download_progress.h"
#include "updater/installer.h"
#include "updater/update_descriptor.h"
#include "updater/version_info.h"

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>
#include <variant>

class QNetworkAccessManager;
class QNetworkReply;
class QSaveFile;
class QWidget;

namespace CVUpdater {

// Finds an update (a newer release in the descriptor, or the configured manual location), downloads
// the installer into the temporary folder and starts it detached.
class Updater : public QObject {
    Q_OBJECT
public:
    explicit Updater(const QString& manualUpdateUrl,
                     const QString& descriptorUrl = QStringLiteral(CORVEL_UPDATE_DESCRIPTOR_URL),
                     QObject* parent = nullptr);
    ~Updater() override;

    // Blocking; meant for a worker thread. True when an update is to be offered.
    bool checkForUpdates();

    QString downloadUrl() const;
    QString offeredVersion() const;
    QString notice() const;
    QString lastStatus() const;

    void startDownload(QWidget* dialogParent = nullptr);
    void cancel();
    bool isDownloading() const;
    bool runUpdate();
    void reset();

    // Without a factory a download runs without anything on screen.
    void setProgressFactory(DownloadProgressFactory factory);
    void setInstallerLauncher(InstallerLauncher launcher);
    // A download that receives no byte for this long fails; applies from the next download on.
    void setStallLimit(std::chrono::milliseconds limit);

signals:
    void downloadFinished();
    void downloadFailed(const QString& lastStatus);

private:
    struct Idle {};
    // Why the transfer was cut short by the updater itself rather than by the network.
    enum class Fault { None, CannotOpen, CannotWrite, TooLarge, Undecodable, Redirection, Stalled };
    struct Downloading {
        QPointer<QNetworkReply> reply;
        QPointer<DownloadProgress> progress;
        // Opened with the first bytes; until committed it is a temporary file beside the target.
        std::shared_ptr<QSaveFile> file;
        QString path;
        std::shared_ptr<Corvel::BoundedBody> decoder;
        Fault fault = Fault::None;
        int redirections = 0;
    };
    struct Downloaded {
        QString path;
    };
    using State = std::variant<Idle, Downloading, Downloaded>;

    void onProgress(qint64 received, qint64 total);
    QNetworkReply* get(const QUrl& url);
    void onMetaData();
    void onReadyRead();
    void onFinished();
    void onStalled();
    // Ends the running download through the completion step, which reports the fault.
    void abortWith(Fault fault);
    void onProgressCanceled();

    // Leaves the downloading state without any completion step; false when not downloading.
    bool abortDownload();
    // False (with the fault set) when the installer file cannot be opened.
    static bool openInstaller(Downloading& downloading, const QString& fileName);
    // Decodes what has arrived into the file; false (with the fault set) when that failed.
    bool takeArrived(Downloading& downloading, QNetworkReply* reply);
    void saveInstaller(Downloading& downloading);
    void unexpectedState();
    void fail(const QString& status);
    void setLastStatus(const QString& status);

    const QString m_manualUpdateUrl;
    const QString m_descriptorUrl;

    // The check writes these on a worker thread.
    mutable QMutex m_mutex;
    QString m_downloadUrl;
    QString m_offeredVersion;
    QString m_notice;
    QString m_lastStatus;

    State m_state;
    QString m_installerPath;
    QNetworkAccessManager* m_network = nullptr;
    DownloadProgressFactory m_progressFactory;
    InstallerLauncher m_launcher = launchDetached;
    QTimer m_stallTimer;
};

} // namespace CVUpdater
