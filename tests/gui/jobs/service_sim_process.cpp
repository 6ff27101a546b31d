#include "service_sim_process.h"

#include "testsupport/test_paths.h"

#include <QElapsedTimer>
#include <QRegularExpression>

ServiceSimProcess::~ServiceSimProcess()
{
    stop();
}

bool ServiceSimProcess::makeCerts(const QString& certDir, QString& error)
{
    QProcess script;
    script.start(CorvelTest::sourceDir() + "/scripts/make-certs", {certDir});
    if (!script.waitForFinished(60000) || script.exitStatus() != QProcess::NormalExit || script.exitCode() != 0) {
        error = "make-certs failed: " + QString::fromLocal8Bit(script.readAllStandardError());
        return false;
    }
    return true;
}

bool ServiceSimProcess::start(const QString& certDir, const QStringList& extraArguments, QString& error)
{
    m_process.setProgram(CorvelTest::binDir() + "/corvel-service-sim");
    m_process.setArguments(QStringList{"--port", "0", "--cert-dir", certDir} + extraArguments);
    // Its per-call log on standard error would fill the pipe during long runs.
    m_process.setStandardErrorFile(certDir + "/service-sim.log", QIODevice::Append);
    m_process.start();
    if (!m_process.waitForStarted(10000)) {
        error = "corvel-service-sim did not start: " + m_process.errorString();
        return false;
    }
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
            return true;
        }
    }
    error = "corvel-service-sim did not report its port; output: " + QString::fromLocal8Bit(output);
    stop();
    return false;
}

void ServiceSimProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}
