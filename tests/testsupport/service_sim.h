#pragma once

#include "CorvelService.h"

#include <QProcess>
#include <QString>
#include <QStringList>

namespace CorvelTest {

// corvel-service-sim as a child process on loopback; its call log goes to a file beside the
// certificates so a long run cannot fill a pipe.
class ServiceSim {
public:
    ~ServiceSim();

    // Writes the shared certificate pair into dir with scripts/make-certs. Empty on success, else why.
    static QString makeCerts(const QString& dir);

    // Starts the simulator with the pair in certDir on port (0: any free one) and waits for its
    // "listening on" line. Empty on success, else why.
    QString start(const QString& certDir, const QStringList& extraArguments = {}, int port = 0);
    // makeCerts(certDir), then start().
    QString startWithCerts(const QString& certDir, const QStringList& extraArguments = {}, int port = 0);
    int port() const { return m_port; }
    // SIGTERM (the simulator saves its state), then kill if it lingers.
    void stop();
    void kill();
    QString log() const;

private:
    QProcess m_process;
    QString m_logFile;
    int m_port = 0;
};

} // namespace CorvelTest
