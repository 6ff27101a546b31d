#include "service/service_client.h"

#include "service/client_access_manager.h"

#include <thrift/async/TConcurrentClientSyncInfo.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <openssl/ssl.h>

#include <QtGlobal>

#include <csignal>
#include <exception>
#include <mutex>

namespace CorvelService {

using apache::thrift::async::TConcurrentClientSyncInfo;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::SSLContext;
using apache::thrift::transport::TBufferedTransport;
using apache::thrift::transport::TSSLSocket;
using apache::thrift::transport::TSSLSocketFactory;
using apache::thrift::transport::TTransport;

namespace {

const char kServiceHost[] = "localhost";
const int kServicePort = 9000;

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

class ServiceSslSocketFactory : public TSSLSocketFactory {
public:
    ServiceSslSocketFactory()
        : TSSLSocketFactory(apache::thrift::transport::TLSv1_2)
    {
        // Pin both ends, whatever the library's protocol constant maps to.
        SSL_CTX_set_min_proto_version(ctx_->get(), TLS1_2_VERSION);
        SSL_CTX_set_max_proto_version(ctx_->get(), TLS1_2_VERSION);
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

} // namespace

std::shared_ptr<TSSLSocketFactory> createSslSocketFactory(const std::string& workingDir)
{
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
        qCritical("Failed to create SSL socket factory: %s", e.what());
    }
    return {};
}

std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir)
{
    return createServiceClient(workingDir, kServiceHost, kServicePort);
}

std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir, const std::string& host, int port)
{
    ignoreBrokenPipe();
    const auto factory = createSslSocketFactory(workingDir);
    if (!factory) {
        qCritical("Failed to create SSL socket factory");
        return {};
    }

    std::shared_ptr<CorvelServiceIf> client;
    try {
        std::shared_ptr<TTransport> socket = factory->createSocket(host, port);
        auto transport = std::make_shared<TBufferedTransport>(socket);
        auto protocol = std::make_shared<TBinaryProtocol>(transport, kMaxReplyStringBytes,
                                                          kMaxReplyContainerElements, false, true);
        auto sync = std::make_shared<TConcurrentClientSyncInfo>();
        auto concurrentClient = std::make_shared<CorvelServiceConcurrentClient>(protocol, sync);
        transport->open();
        client = concurrentClient;
    } catch (const std::exception& e) {
        qCritical("Thrift error: %s", e.what());
    }

    if (!client) {
        qCritical("Failed to connect to Corvel service");
        return {};
    }
    return client;
}

} // namespace CorvelService
