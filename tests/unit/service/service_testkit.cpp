#include "service_testkit.h"

#include "testsupport/test_paths.h"

#include <thrift/transport/TSocket.h> // the platform socket headers (SOCK_STREAM)

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace CorvelTest {

namespace {

QString runProcess(const QString& program, const QStringList& args)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, args);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return program + " failed: " + QString::fromLocal8Bit(process.readAll()) + process.errorString();
    return {};
}

} // namespace

QString writeCertificatePair(const QString& dir, const QStringList& dnsNames)
{
    QDir().mkpath(dir);
    QStringList san;
    for (const QString& name : dnsNames)
        san << "DNS:" + name;
    QStringList args{"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                     "-days", "2", "-subj", "/CN=" + dnsNames.value(0, "localhost"),
                     "-keyout", dir + "/tolvex.key", "-out", dir + "/tolvex.crt"};
    if (!san.isEmpty())
        args << "-addext" << "subjectAltName=" + san.join(',');
    return runProcess("openssl", args);
}

QString runMakeCerts(const QString& dir)
{
    return runProcess(sourceDir() + "/scripts/make-certs", {dir});
}

bool concatenateFiles(const QStringList& sources, const QString& target)
{
    QByteArray all;
    for (const QString& source : sources) {
        QFile file(source);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        all += file.readAll();
    }
    QFile out(target);
    return out.open(QIODevice::WriteOnly | QIODevice::Truncate) && out.write(all) == all.size();
}

// --- TlsTestServer ---

TlsTestServer::~TlsTestServer()
{
    stop();
}

QString TlsTestServer::start(const Config& config)
{
    m_config = config;
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    m_context = context;
    if (config.securityLevel >= 0) {
        SSL_CTX_set_security_level(context, config.securityLevel);
        SSL_CTX_set_cipher_list(context, "ALL:@SECLEVEL=0");
    }
    if (config.minVersion)
        SSL_CTX_set_min_proto_version(context, config.minVersion);
    if (config.maxVersion)
        SSL_CTX_set_max_proto_version(context, config.maxVersion);
    if (SSL_CTX_use_certificate_chain_file(context, QFile::encodeName(config.certificateFile).constData()) != 1
        || SSL_CTX_use_PrivateKey_file(context, QFile::encodeName(config.keyFile).constData(), SSL_FILETYPE_PEM) != 1)
        return "cannot load the test server's certificate pair";

    BIO_ADDRINFO* addresses = nullptr;
    if (!BIO_lookup_ex("127.0.0.1", "0", BIO_LOOKUP_SERVER, 0, SOCK_STREAM, 0, &addresses))
        return "address lookup failed";
    m_addresses = addresses;
    m_listenFd = BIO_socket(BIO_ADDRINFO_family(addresses), SOCK_STREAM, 0, 0);
    if (m_listenFd < 0 || !BIO_listen(m_listenFd, BIO_ADDRINFO_address(addresses), BIO_SOCK_REUSEADDR))
        return "cannot listen";
    BIO_ADDR* bound = BIO_ADDR_new();
    BIO_sock_info_u info;
    info.addr = bound;
    if (BIO_sock_info(m_listenFd, BIO_SOCK_INFO_ADDRESS, &info)) {
        char* service = BIO_ADDR_service_string(bound, 1);
        m_port = service ? std::atoi(service) : 0;
        OPENSSL_free(service);
    }
    m_bound = bound;
    if (m_port <= 0)
        return "cannot read the bound port";
    m_thread = std::thread([this] { serve(); });
    return {};
}

void TlsTestServer::stop()
{
    if (m_thread.joinable()) {
        m_stopping = true;
        // Wake the blocking accept with a connection of our own.
        auto* addresses = static_cast<BIO_ADDRINFO*>(m_addresses);
        int wake = BIO_socket(BIO_ADDRINFO_family(addresses), SOCK_STREAM, 0, 0);
        BIO_connect(wake, static_cast<BIO_ADDR*>(m_bound), 0);
        m_thread.join();
        BIO_closesocket(wake);
    }
    if (m_listenFd >= 0)
        BIO_closesocket(m_listenFd);
    m_listenFd = -1;
    BIO_ADDR_free(static_cast<BIO_ADDR*>(m_bound));
    m_bound = nullptr;
    BIO_ADDRINFO_free(static_cast<BIO_ADDRINFO*>(m_addresses));
    m_addresses = nullptr;
    SSL_CTX_free(static_cast<SSL_CTX*>(m_context));
    m_context = nullptr;
}

void TlsTestServer::serve()
{
    for (;;) {
        const int fd = BIO_accept_ex(m_listenFd, nullptr, 0);
        if (m_stopping) {
            if (fd >= 0)
                BIO_closesocket(fd);
            return;
        }
        if (fd < 0)
            continue;
        ++m_connections;
        handle(fd);
        BIO_closesocket(fd);
    }
}

void TlsTestServer::handle(int fd)
{
    SSL* ssl = SSL_new(static_cast<SSL_CTX*>(m_context));
    SSL_set_fd(ssl, fd);
    if (SSL_accept(ssl) == 1) {
        ++m_handshakes;
        QByteArray request;
        char buffer[4096];
        bool answered = !m_config.reply;
        for (;;) {
            const int n = SSL_read(ssl, buffer, sizeof buffer);
            if (n <= 0)
                break;
            request.append(buffer, n);
            // Strict message header: version word, name length, name, sequence id.
            if (!answered && request.size() >= 8) {
                const auto be32 = [&](int at) {
                    const auto* b = reinterpret_cast<const unsigned char*>(request.constData() + at);
                    return static_cast<int32_t>((uint32_t(b[0]) << 24) | (uint32_t(b[1]) << 16) | (uint32_t(b[2]) << 8)
                                                | uint32_t(b[3]));
                };
                const int nameLength = be32(4);
                if (request.size() >= 12 + nameLength) {
                    const QByteArray reply = m_config.reply(be32(8 + nameLength));
                    SSL_write(ssl, reply.constData(), reply.size());
                    answered = true;
                }
            }
        }
        SSL_shutdown(ssl);
    }
    ERR_clear_error();
    SSL_free(ssl);
}

// --- SimProcess ---

SimProcess::~SimProcess()
{
    if (m_process.state() != QProcess::NotRunning)
        terminate();
}

QString SimProcess::start(const QStringList& args)
{
    QStringList all = args;
    if (!all.contains("--port"))
        all << "--port" << "0";
    if (!m_stderrFile.open())
        return "cannot create a file for the simulator's log";
    m_process.setStandardErrorFile(m_stderrFile.fileName());
    m_process.start(binDir() + "/corvel-service-sim", all);
    if (!m_process.waitForStarted(10000))
        return "cannot start the simulator: " + m_process.errorString();
    QByteArray out;
    while (!out.contains('\n')) {
        if (!m_process.waitForReadyRead(15000))
            return "no listening line from the simulator: " + log();
        out += m_process.readAllStandardOutput();
    }
    const auto match = QRegularExpression("^listening on 127\\.0\\.0\\.1:(\\d+)\\n").match(QString::fromLatin1(out));
    if (!match.hasMatch())
        return "unexpected first line from the simulator: " + QString::fromLatin1(out);
    m_port = match.captured(1).toInt();
    return {};
}

void SimProcess::terminate()
{
    m_process.terminate();
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

void SimProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

QString SimProcess::log()
{
    QFile file(m_stderrFile.fileName());
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

} // namespace CorvelTest
