#include "cloud_sim_process.h"

#include "testsupport/test_paths.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QRegularExpression>

namespace CorvelTest {

QString CloudSimProcess::scriptPath()
{
    return sourceDir() + QStringLiteral("/tools/cloud-sim/cloud_sim.py");
}

bool CloudSimProcess::available()
{
    return QFileInfo::exists(scriptPath());
}

CloudSimProcess::~CloudSimProcess()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        if (!m_process.waitForFinished(3000)) {
            m_process.kill();
            m_process.waitForFinished(3000);
        }
    }
}

bool CloudSimProcess::start(const QStringList& arguments)
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral("python3"), QStringList{QStringLiteral("-u"), scriptPath()} + arguments);
    if (!m_process.waitForStarted(5000)) {
        m_error = m_process.errorString();
        return false;
    }
    static const QRegularExpression listening(QStringLiteral("listening on (http://127\\.0\\.0\\.1:\\d+)"));
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        m_process.waitForReadyRead(200);
        m_output += m_process.readAll();
        const QRegularExpressionMatch match = listening.match(QString::fromUtf8(m_output));
        if (match.hasMatch()) {
            m_baseUrl = match.captured(1);
            return true;
        }
        if (m_process.state() == QProcess::NotRunning)
            break;
    }
    m_error = QStringLiteral("no address reported: ") + QString::fromUtf8(m_output);
    return false;
}

} // namespace CorvelTest
