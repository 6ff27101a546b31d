#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace CorvelTest {

// Runs tools/cloud-sim/cloud_sim.py on an ephemeral loopback port for the lifetime of the object.
class CloudSimProcess {
public:
    static QString scriptPath();
    static bool available();

    CloudSimProcess() = default;
    ~CloudSimProcess();
    CloudSimProcess(const CloudSimProcess&) = delete;
    CloudSimProcess& operator=(const CloudSimProcess&) = delete;

    // False (with errorString()) when it does not report its address within a few seconds.
    bool start(const QStringList& arguments);
    QString baseUrl() const { return m_baseUrl; }
    QString errorString() const { return m_error; }
    QByteArray output() const { return m_output; }

private:
    QProcess m_process;
    QString m_baseUrl;
    QString m_error;
    QByteArray m_output;
};

} // namespace CorvelTest
