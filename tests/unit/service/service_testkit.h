#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace CorvelTest {

// Writes DIR/tolvex.crt and DIR/tolvex.key: a fresh self-signed pair whose subjectAltName holds
// dnsNames (and whose common name is the first of them). Empty string on success, else why.
QString writeCertificatePair(const QString& dir, const QStringList& dnsNames);
// Runs scripts/make-certs DIR. Empty string on success, else why.
QString runMakeCerts(const QString& dir);
// Concatenates files (PEM bundles) into target.
bool concatenateFiles(const QStringList& sources, const QString& target);

// A bare TLS server on 127.0.0.1 built straight on OpenSSL, for the cases a real service cannot
// produce: other protocol versions, other certificates, hand-made replies.
class TlsTestServer {
public:
    struct Config {
        Config(QString certificate, QString key)
            : certificateFile(std::move(certificate))
            , keyFile(std::move(key))
        {
        }
        QString certificateFile;
        QString keyFile;
        int minVersion = 0; // OpenSSL version constants; 0 = library default
        int maxVersion = 0;
        int securityLevel = -1; // -1 = library default
        // When set: read one request and answer with reply(seqid of the request).
        std::function<QByteArray(int32_t seqid)> reply;
    };

    TlsTestServer() = default;
    ~TlsTestServer();
    TlsTestServer(const TlsTestServer&) = delete;
    TlsTestServer& operator=(const TlsTestServer&) = delete;

    // Empty string on success, else why.
    QString start(const Config& config);
    void stop();
    int port() const { return m_port; }
    int connections() const { return m_connections; }
    int handshakes() const { return m_handshakes; }

private:
    void serve();
    void handle(int fd);

    Config m_config{QString(), QString()};
    void* m_context = nullptr; // SSL_CTX
    void* m_addresses = nullptr; // BIO_ADDRINFO
    void* m_bound = nullptr; // BIO_ADDR
    int m_listenFd = -1;
    int m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_connections{0};
    std::atomic<int> m_handshakes{0};
    std::thread m_thread;
};

// The service simulator as a child process on a free port.
class SimProcess {
public:
    ~SimProcess();
    // Starts corvel-service-sim with args (plus "--port 0" unless given) and waits for its
    // "listening on" line. Empty string on success, else why (with its stderr).
    QString start(const QStringList& args);
    int port() const { return m_port; }
    QProcess& process() { return m_process; }
    // Sends SIGTERM (or kills) and waits for the end.
    void terminate();
    void kill();
    // Everything the simulator wrote to standard error so far.
    QString log();

private:
    QProcess m_process;
    QTemporaryFile m_stderrFile;
    int m_port = 0;
};

} // namespace CorvelTest
