#include "testsupport/service_testkit.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace CorvelTest {

bool writeCertificatePair(const QString& dir, const QString& dnsName)
{
    QDir().mkpath(dir);
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start("openssl", {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                              "-days", "2", "-subj", "/CN=" + dnsName, "-addext", "subjectAltName=DNS:" + dnsName,
                              "-keyout", dir + "/tolvex.key", "-out", dir + "/tolvex.crt"});
    const bool made =
        openssl.waitForFinished(60000) && openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0;
    if (!made)
        qWarning("openssl failed: %s%s", openssl.readAll().constData(), qPrintable(openssl.errorString()));
    return made;
}

bool resetPeakMemory()
{
    QFile clear("/proc/self/clear_refs");
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

qint64 statusKiB(const char* field)
{
    QFile status("/proc/self/status");
    const QString text = status.open(QIODevice::ReadOnly) ? QString::fromLatin1(status.readAll()) : QString();
    const auto match = QRegularExpression(QString(field) + "\\s*(\\d+)").match(text);
    return match.hasMatch() ? match.captured(1).toLongLong() : -1;
}

TlsTestServer::~TlsTestServer()
{
    m_stopping = true;
    if (m_listenFd >= 0)
        ::shutdown(m_listenFd, SHUT_RDWR); // wakes the blocking accept
    if (m_thread.joinable())
        m_thread.join();
    if (m_listenFd >= 0)
        ::close(m_listenFd);
    SSL_CTX_free(static_cast<SSL_CTX*>(m_context));
}

QString TlsTestServer::start(const QString& certDir, int version, Reply reply)
{
    m_reply = std::move(reply);
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    m_context = context;
    if (version) {
        SSL_CTX_set_min_proto_version(context, version);
        SSL_CTX_set_max_proto_version(context, version);
        // Below TLS 1.2 the default security level would refuse on this side; leave that to the client.
        if (version < TLS1_2_VERSION)
            SSL_CTX_set_cipher_list(context, "ALL:@SECLEVEL=0");
    }
    if (SSL_CTX_use_certificate_chain_file(context, QFile::encodeName(certDir + "/tolvex.crt").constData()) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, QFile::encodeName(certDir + "/tolvex.key").constData(),
                                    SSL_FILETYPE_PEM) != 1)
        return "cannot load the test server's certificate pair";

    m_listenFd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (m_listenFd < 0 || ::bind(m_listenFd, any, length) != 0 || ::listen(m_listenFd, 8) != 0 ||
        ::getsockname(m_listenFd, any, &length) != 0)
        return "cannot listen";
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
    return {};
}

void TlsTestServer::serve()
{
    while (!m_stopping) {
        const int fd = ::accept(m_listenFd, nullptr, nullptr);
        if (fd < 0)
            continue;
        ++m_connections;
        handle(fd);
        ::close(fd);
    }
}

void TlsTestServer::handle(int fd)
{
    SSL* ssl = SSL_new(static_cast<SSL_CTX*>(m_context));
    SSL_set_fd(ssl, fd);
    if (SSL_accept(ssl) == 1) {
        unsigned char request[4096];
        int n = SSL_read(ssl, request, sizeof request);
        // A request arrives in one piece: version word, name length, name, sequence id, ...
        const auto be32 = [&](int at) {
            return int32_t(uint32_t(request[at]) << 24 | uint32_t(request[at + 1]) << 16 |
                           uint32_t(request[at + 2]) << 8 | request[at + 3]);
        };
        if (m_reply && n >= 12 && n >= 12 + be32(4)) {
            const QByteArray reply = m_reply(be32(8 + be32(4)));
            SSL_write(ssl, reply.constData(), reply.size());
            n = 0;
        }
        while (n > 0)
            n = SSL_read(ssl, request, sizeof request);
        SSL_shutdown(ssl);
    }
    ERR_clear_error();
    SSL_free(ssl);
}

} // namespace CorvelTest
