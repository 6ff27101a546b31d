#include "testsupport/service_sim.h"

#include "testsupport/test_paths.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

namespace CorvelTest {

ServiceSim::~ServiceSim()
{
    stop();
}

QString ServiceSim::makeCerts(const QString& dir)
{
    QProcess script;
    script.start(sourceDir() + "/scripts/make-certs", {dir});
    if (!script.waitForFinished(60000) || script.exitStatus() != QProcess::NormalExit || script.exitCode() != 0)
        return "make-certs failed: " + QString::fromLocal8Bit(script.readAllStandardError());
    return QString();
}

QString ServiceSim::start(const QString& certDir, const QStringList& extraArguments, int port)
{
    m_logFile = certDir + "/service-sim.log";
    m_process.setProgram(binDir() + "/corvel-service-sim");
    m_process.setArguments(QStringList{"--port", QString::number(port), "--cert-dir", certDir} + extraArguments);
    m_process.setStandardErrorFile(m_logFile, QIODevice::Append);
    m_process.start();
    if (!m_process.waitForStarted(10000))
        return "corvel-service-sim did not start: " + m_process.errorString();
    static const QRegularExpression listening("listening on 127\\.0\\.0\\.1:(\\d+)");
    QByteArray output;
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < 20000) {
        if (!m_process.waitForReadyRead(200) && m_process.state() != QProcess::Running)
            break;
        output += m_process.readAllStandardOutput();
        const auto match = listening.match(QString::fromLocal8Bit(output));
        if (match.hasMatch()) {
            m_port = match.captured(1).toInt();
            return QString();
        }
    }
    stop();
    return "corvel-service-sim did not report its port; output: " + QString::fromLocal8Bit(output) + log();
}

QString ServiceSim::startWithCerts(const QString& certDir, const QStringList& extraArguments, int port)
{
    const QString error = makeCerts(certDir);
    return error.isEmpty() ? start(certDir, extraArguments, port) : error;
}

void ServiceSim::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(10000))
        kill();
}

void ServiceSim::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(5000);
}

QString ServiceSim::log() const
{
    QFile file(m_logFile);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

} // namespace CorvelTest
