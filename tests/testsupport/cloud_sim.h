#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace CorvelTest {

// The cloud simulator (tools/cloud-sim/cloud_sim.py) as a child process on a free loopback port,
// logging every request to a temporary file.
class CloudSim {
public:
    explicit CloudSim(const QStringList& extraArgs = {});
    ~CloudSim();
    CloudSim(const CloudSim&) = delete;
    CloudSim& operator=(const CloudSim&) = delete;

    // Starts it and waits for its "listening on" line; false (with a qWarning) on failure.
    bool start();
    QString origin() const { return m_origin; }
    QString authUrl() const { return m_origin + "/authorization/vusk"; }
    QString vuskUrl() const { return m_origin + "/vusk"; }
    // The request log so far: "METHOD PATH STATUS" per line.
    QStringList requests() const;
    // Signs a fixture user in through the form as a browser would: the token, or empty on failure.
    QString signIn(const QString& user) const;

private:
    QStringList m_args;
    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_origin;
};

} // namespace CorvelTest
