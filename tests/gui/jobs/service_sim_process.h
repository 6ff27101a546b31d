#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// Runs corvel-service-sim on a free loopback port and stops it again.
class ServiceSimProcess {
public:
    ServiceSimProcess() = default;
    ~ServiceSimProcess();
    ServiceSimProcess(const ServiceSimProcess&) = delete;
    ServiceSimProcess& operator=(const ServiceSimProcess&) = delete;

    // Writes the certificate pair into certDir (scripts/make-certs); false with a reason.
    static bool makeCerts(const QString& certDir, QString& error);

    // Starts it with "--port 0 --cert-dir certDir" plus extraArguments and waits until it
    // listens; false with a reason (its standard error included) on failure.
    bool start(const QString& certDir, const QStringList& extraArguments, QString& error);
    // SIGTERM and wait, so a --state file is saved.
    void stop();

    int port() const { return m_port; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }

private:
    QProcess m_process;
    int m_port = 0;
};
