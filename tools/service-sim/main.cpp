// corvel-service-sim: a stand-in for the local Corvel service (see --help).

#include "fault_processor.h"
#include "job_store.h"
#include "sim_handler.h"
#include "sim_log.h"
#include "sim_options.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TThreadedServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSSLServerSocket.h>
#include <thrift/transport/TSSLSocket.h>
#include <thrift/transport/TServerSocket.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <thread>

using namespace CorvelSim;
using namespace apache::thrift;
using namespace apache::thrift::transport;

namespace {

const char kBindAddress[] = "127.0.0.1";

volatile std::sig_atomic_t g_stopSignal = 0;

extern "C" void onStopSignal(int)
{
    g_stopSignal = 1;
}

class ListeningAnnouncer : public server::TServerEventHandler {
public:
    explicit ListeningAnnouncer(std::shared_ptr<TServerSocket> socket, bool plain)
        : m_socket(std::move(socket))
        , m_plain(plain)
    {
    }
    void preServe() override
    {
        std::printf("listening on %s:%d\n", kBindAddress, m_socket->getPort());
        std::fflush(stdout);
        logLine(std::string("serving ") + (m_plain ? "plain TCP" : "TLS 1.2, client certificate required") + " on "
                + kBindAddress + ":" + std::to_string(m_socket->getPort()));
    }

private:
    std::shared_ptr<TServerSocket> m_socket;
    bool m_plain;
};

std::shared_ptr<TServerSocket> makeServerSocket(const SimOptions& options)
{
    if (options.plain)
        return std::make_shared<TServerSocket>(kBindAddress, options.port);

    const std::string certificate = options.certDir + "/tolvex.crt";
    const std::string key = options.certDir + "/tolvex.key";
    auto factory = std::make_shared<TSSLSocketFactory>(TLSv1_2);
    factory->server(true);
    factory->loadCertificate(certificate.c_str(), "PEM");
    factory->loadPrivateKey(key.c_str(), "PEM");
    factory->loadTrustedCertificates(certificate.c_str());
    factory->ciphers("ALL:!ADH:!LOW:!EXP:!MD5:@STRENGTH");
    factory->authenticate(true);
    return std::make_shared<TSSLServerSocket>(kBindAddress, options.port, factory);
}

} // namespace

int main(int argc, char** argv)
{
    SimOptions options;
    std::string error;
    if (!parseOptions(argc, argv, options, error)) {
        std::cerr << "corvel-service-sim: " << error << "\n(see --help)\n";
        return 2;
    }
    if (options.help) {
        std::cout << usageText();
        return 0;
    }

#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);
#endif
    std::signal(SIGTERM, onStopSignal);
    std::signal(SIGINT, onStopSignal);

    JobStore store(options.stateFile);
    if (!store.load(error)) {
        std::cerr << "corvel-service-sim: cannot use the state file " << options.stateFile << ": " << error << "\n";
        return 1;
    }
    store.setEndless(options.endless);
    if (options.demoJobs > 0 && store.size() == 0)
        store.addDemoJobs(options.demoJobs);
    for (const auto& fault : options.faults)
        logLine("fault injected on " + fault.first);

    std::shared_ptr<TServerSocket> socket;
    try {
        socket = makeServerSocket(options);
    } catch (const std::exception& e) {
        std::cerr << "corvel-service-sim: cannot load the certificate pair from " << options.certDir << ": "
                  << e.what() << "\n";
        return 1;
    }

    auto handler = std::make_shared<SimHandler>(store);
    auto processor = std::make_shared<FaultProcessor>(handler, options.faults);
    auto protocols = std::make_shared<protocol::TBinaryProtocolFactory>(64 * 1024 * 1024, 1000000, false, true);
    server::TThreadedServer server(processor, socket, std::make_shared<TBufferedTransportFactory>(), protocols);
    server.setServerEventHandler(std::make_shared<ListeningAnnouncer>(socket, options.plain));

    std::atomic<bool> finished(false);
    std::thread ticker([&] {
        auto next = std::chrono::steady_clock::now();
        while (!finished) {
            next += std::chrono::milliseconds(options.tickMs);
            while (!finished && std::chrono::steady_clock::now() < next)
                std::this_thread::sleep_for(std::min(std::chrono::milliseconds(20), std::chrono::milliseconds(options.tickMs)));
            if (!finished)
                store.tick();
        }
    });
    std::thread stopper([&] {
        while (!finished && !g_stopSignal)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (g_stopSignal) {
            logLine("stop signal received");
            server.stop();
        }
    });

    int status = 0;
    try {
        server.serve();
    } catch (const std::exception& e) {
        std::cerr << "corvel-service-sim: cannot serve on " << kBindAddress << ":" << options.port << ": " << e.what()
                  << "\n";
        status = 1;
    }
    finished = true;
    ticker.join();
    stopper.join();

    if (!store.save(error)) {
        std::cerr << "corvel-service-sim: cannot write the state file " << options.stateFile << ": " << error << "\n";
        return 1;
    }
    logLine("stopped");
    return status;
}
