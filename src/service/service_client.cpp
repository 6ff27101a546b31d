#include "service/service_client.h"

#include "service/client_access_manager.h"
#include "service/service_texts.h"

#include <thrift/TOutput.h>
#include <thrift/async/TConcurrentClientSyncInfo.h>

#include <openssl/ssl.h>

#include <QByteArray>
#include <QDebug>
#include <QString>

#include <QtGlobal>

#include <csignal>
#include <exception>
#include <mutex>

namespace CorvelService {

using apache::thrift::async::TConcurrentClientSyncInfo;
using apache::thrift::transport::SSLContext;
using apache::thrift::transport::TSSLSocket;
using apache::thrift::transport::TSSLSocketFactory;
using apache::thrift::transport::TTransport;

namespace {

const char kServiceHost[] = "localhost";

thread_local int t_quietDepth = 0;
thread_local QString t_lastFailure;

// A connection failure's line: logged at critical level, or kept for QuietConnect's owner.
void connectFailure(const QString& line)
{
    if (t_quietDepth > 0)
        t_lastFailure = line;
    else
        qCritical().noquote() << line;
}

// The library's socket connects in open() but defers the handshake, and with it every
// certificate check, to the first read or write. Doing it in open() lets the factory refuse a
// wrong peer before a client is handed out.
class HandshakingSslSocket : public TSSLSocket {
public:
    HandshakingSslSocket(std::shared_ptr<SSLContext> context, const std::string& host, int port)
        : TSSLSocket(std::move(context), host, port)
    {
    }

    void open() override
    {
        TSSLSocket::open();
        initializeHandshake();
    }
};

int refusePassphrase(char*, int, int, void*)
{
    return -1;
}

class ServiceSslSocketFactory : public TSSLSocketFactory {
public:
    ServiceSslSocketFactory()
        : TSSLSocketFactory(apache::thrift::transport::TLSv1_2)
    {
        // Pin both ends, whatever the library's protocol constant maps to.
        SSL_CTX_set_min_proto_version(ctx_->get(), TLS1_2_VERSION);
        SSL_CTX_set_max_proto_version(ctx_->get(), TLS1_2_VERSION);
        // Without a callback OpenSSL asks for a key's passphrase on the terminal, which the
        // console does not have: the read would wait forever. A protected key fails instead.
        SSL_CTX_set_default_passwd_cb(ctx_->get(), &refusePassphrase);
        SSL_CTX_set_default_passwd_cb_userdata(ctx_->get(), nullptr);
    }

    void setAccessManager(std::shared_ptr<apache::thrift::transport::AccessManager> manager)
    {
        m_access = manager;
        access(std::move(manager));
    }

    std::shared_ptr<TSSLSocket> createSocket(const std::string& host, int port) override
    {
        auto socket = std::make_shared<HandshakingSslSocket>(ctx_, host, port);
        socket->server(false);
        if (m_access)
            socket->access(m_access);
        return socket;
    }

private:
    std::shared_ptr<apache::thrift::transport::AccessManager> m_access;
};

void ignoreBrokenPipe()
{
#ifdef SIGPIPE
    // A dead service must surface as a transport error on write, not end the console.
    static std::once_flag once;
    std::call_once(once, [] { std::signal(SIGPIPE, SIG_IGN); });
#endif
}

void logThriftDiagnostic(const char* message)
{
    QByteArray text(message ? message : "");
    // A diagnostic is a line or two; anything longer is cut rather than flooding the log.
    constexpr int kMaxDiagnosticBytes = 2000;
    if (text.size() > kMaxDiagnosticBytes)
        text = text.left(kMaxDiagnosticBytes) + "...";
    while (text.endsWith('\n') || text.endsWith('\r'))
        text.chop(1);
    if (t_quietDepth > 0)
        return;
    qWarning("Thrift library: %s", text.constData());
}

} // namespace

QuietConnect::QuietConnect()
{
    if (t_quietDepth++ == 0)
        t_lastFailure.clear();
}

QuietConnect::~QuietConnect()
{
    --t_quietDepth;
}

QString QuietConnect::lastFailure()
{
    return t_lastFailure;
}

void routeThriftDiagnosticsToLog()
{
    static std::once_flag once;
    std::call_once(once, [] { apache::thrift::GlobalOutput.setOutputFunction(&logThriftDiagnostic); });
}

std::shared_ptr<TSSLSocketFactory> createSslSocketFactory(const std::string& workingDir)
{
    routeThriftDiagnosticsToLog();
    const std::string certificatePath = workingDir + "/tolvex.crt";
    const std::string keyPath = workingDir + "/tolvex.key";
    try {
        auto factory = std::make_shared<ServiceSslSocketFactory>();
        TSSLSocketFactory::setManualOpenSSLInitialization(true);
        factory->loadCertificate(certificatePath.c_str(), "PEM");
        factory->loadTrustedCertificates(certificatePath.c_str());
        factory->loadPrivateKey(keyPath.c_str(), "PEM");
        factory->ciphers("ALL:!ADH:!LOW:!EXP:!MD5:@STRENGTH");
        factory->authenticate(true);
        factory->setAccessManager(std::make_shared<ClientAccessManager>(kServiceHost));
        return factory;
    } catch (const std::exception& e) {
        connectFailure(QString(ServiceTexts::SslFactoryFailedWhy) + QString::fromUtf8(e.what()));
    }
    return {};
}

std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir, const std::string& host, int port,
                                                     const ReplyLimits& limits)
{
    ignoreBrokenPipe();
    const auto factory = createSslSocketFactory(workingDir);
    if (!factory) {
        connectFailure(QString(ServiceTexts::SslFactoryFailed));
        return {};
    }

    std::shared_ptr<CorvelServiceIf> client;
    try {
        std::shared_ptr<TTransport> socket = factory->createSocket(host, port);
        auto protocol = makeBoundedProtocol(socket, limits);
        auto sync = std::make_shared<TConcurrentClientSyncInfo>();
        auto concurrentClient = std::make_shared<CorvelServiceConcurrentClient>(protocol, sync);
        protocol->getTransport()->open();
        client = concurrentClient;
    } catch (const std::exception& e) {
        connectFailure(QString(ServiceTexts::ThriftError) + QString::fromUtf8(e.what()));
    }

    if (!client) {
        connectFailure(QString(ServiceTexts::ConnectFailed));
        return {};
    }
    return client;
}

} // namespace CorvelService
