#include "testsupport/cloud_sim.h"

#include "testsupport/test_paths.h"

#include <QDebug>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>
#include <QTimer>
#include <QUrl>

namespace CorvelTest {

CloudSim::CloudSim(const QStringList& extraArgs)
    : m_args(extraArgs)
{
}

CloudSim::~CloudSim()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

bool CloudSim::start()
{
    const QString script = sourceDir() + "/tools/cloud-sim/cloud_sim.py";
    const QStringList args = QStringList{script, "--port", "0", "--log", m_dir.filePath("requests.log")} + m_args;
    m_process.setStandardErrorFile(m_dir.filePath("stderr.log"));
    m_process.start("python3", args);
    if (!m_process.waitForStarted(10000)) {
        qWarning() << "cloud simulator did not start:" << m_process.errorString();
        return false;
    }
    QByteArray out;
    while (!out.contains('\n') && m_process.waitForReadyRead(20000))
        out += m_process.readAllStandardOutput();
    const QRegularExpressionMatch match =
        QRegularExpression("^listening on (https?://127\\.0\\.0\\.1:\\d+)\\n").match(QString::fromUtf8(out));
    if (!match.hasMatch()) {
        QFile err(m_dir.filePath("stderr.log"));
        err.open(QIODevice::ReadOnly);
        qWarning() << "cloud simulator did not report its port:" << out << err.readAll();
        return false;
    }
    m_origin = match.captured(1);
    return true;
}

QStringList CloudSim::requests() const
{
    QFile file(m_dir.filePath("requests.log"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

QString CloudSim::signIn(const QString& user) const
{
    QNetworkAccessManager network;
    QNetworkRequest request{QUrl(authUrl())};
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/x-www-form-urlencoded");
    QNetworkReply* reply = network.post(request, "user=" + user.toUtf8());
    // Only a stand-in for the browser: whether the console trusts the simulator is tested elsewhere.
    QObject::connect(reply, &QNetworkReply::sslErrors, reply, [reply] { reply->ignoreSslErrors(); });
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    loop.exec();
    const QString page = QString::fromUtf8(reply->readAll());
    delete reply;
    const QRegularExpressionMatch match =
        QRegularExpression("location\\.replace\\(\"[a-z]+://[^/\"]+/([^\"]+)\"\\)").match(page);
    return match.captured(1);
}

} // namespace CorvelTest
