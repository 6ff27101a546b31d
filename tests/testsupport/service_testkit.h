#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

namespace CorvelTest {

// Writes DIR/tolvex.crt and DIR/tolvex.key: a fresh self-signed pair named dnsName (common name
// and subjectAltName). False, with a warning saying why, when openssl fails.
bool writeCertificatePair(const QString& dir, const QString& dnsName);

// Peak memory of this process: resetPeakMemory() makes the peak the current resident size, then
// statusKiB("VmHWM:") is the peak since and statusKiB("VmRSS:") the current size, in KiB.
bool resetPeakMemory();
qint64 statusKiB(const char* field);

// A bare TLS server on 127.0.0.1 for what the simulator cannot do: other protocol versions,
// other certificates, hand-made replies.
class TlsTestServer {
public:
    using Reply = std::function<QByteArray(int32_t seqid)>;
    ~TlsTestServer();
    // Serves the pair in certDir. version: the only TLS version offered (0: library default).
    // reply: when set, answers the first request with reply(its sequence id) and closes the connection.
    QString start(const QString& certDir, int version = 0, Reply reply = {});
    int port() const { return m_port; }
    int connections() const { return m_connections; }

private:
    void serve();
    void handle(int fd);

    Reply m_reply;
    void* m_context = nullptr; // SSL_CTX
    int m_listenFd = -1;
    int m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_connections{0};
    std::thread m_thread;
};

} // namespace CorvelTest
