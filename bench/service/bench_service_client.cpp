// Prints round-trip figures of getAllJobsInfo: the console's client over mutual TLS against the
// service simulator holding 0, 100 and 1000 jobs, next to the same call over plain TCP; then the
// cost of reading a reply of 10,000 jobs from memory with the console's size-checked protocol
// next to the library's plain binary protocol.
//   bench_service_client [--rounds-scale F]
#include "service/service_client.h"
#include "testsupport/service_sim.h"

#include <thrift/async/TConcurrentClientSyncInfo.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace CorvelService;
using namespace apache::thrift;

namespace {

struct Figures {
    double medianUs = 0;
    double p99Us = 0;
    size_t replyBytes = 0;
};

std::shared_ptr<CorvelServiceIf> plainClient(int port)
{
    auto socket = std::make_shared<transport::TSocket>("localhost", port);
    auto protocol = makeBoundedProtocol(socket);
    auto client =
        std::make_shared<CorvelServiceConcurrentClient>(protocol, std::make_shared<async::TConcurrentClientSyncInfo>());
    protocol->getTransport()->open();
    return client;
}

bool measure(const QString& certDir, int jobs, bool plain, int rounds, Figures& figures)
{
    CorvelTest::ServiceSim sim;
    QStringList args{"--jobs", QString::number(jobs), "--tick-ms", "3600000"};
    if (plain)
        args << "--plain";
    const QString error = sim.start(certDir, args);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return false;
    }
    std::shared_ptr<CorvelServiceIf> client;
    try {
        client = plain ? plainClient(sim.port()) : createServiceClient(certDir.toStdString(), "localhost", sim.port());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "connect: %s\n", e.what());
    }
    if (!client)
        return false;

    std::vector<JobDescription> reply;
    for (int i = 0; i < 20; ++i)
        client->getAllJobsInfo(reply);
    auto buffer = std::make_shared<transport::TMemoryBuffer>();
    protocol::TBinaryProtocol counter(buffer);
    figures.replyBytes = 0;
    for (const JobDescription& job : reply)
        figures.replyBytes += job.write(&counter);

    std::vector<double> samples;
    samples.reserve(static_cast<size_t>(rounds));
    for (int i = 0; i < rounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        client->getAllJobsInfo(reply);
        samples.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(samples.begin(), samples.end());
    figures.medianUs = samples[samples.size() / 2];
    figures.p99Us = samples[std::min(samples.size() - 1, samples.size() * 99 / 100)];
    return true;
}

// Median microseconds to read one getAllJobsInfo reply from memory, through the console's
// protocol stack (bounded) or the library's binary protocol over a buffered transport.
double decodeMedianUs(const std::string& reply, bool bounded, int rounds)
{
    std::vector<double> samples;
    for (int i = 0; i < rounds; ++i) {
        auto memory = std::make_shared<transport::TMemoryBuffer>(
            reinterpret_cast<uint8_t*>(const_cast<char*>(reply.data())), static_cast<uint32_t>(reply.size()));
        std::shared_ptr<protocol::TProtocol> in;
        if (bounded)
            in = makeBoundedProtocol(memory);
        else
            in = std::make_shared<protocol::TBinaryProtocol>(std::make_shared<transport::TBufferedTransport>(memory));
        std::vector<JobDescription> jobs;
        CorvelService_getAllJobsInfo_presult result;
        result.success = &jobs;
        std::string name;
        protocol::TMessageType type;
        int32_t seqid = 0;
        const auto start = std::chrono::steady_clock::now();
        in->readMessageBegin(name, type, seqid);
        result.read(in.get());
        in->readMessageEnd();
        samples.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        if (jobs.size() != 10000)
            std::fprintf(stderr, "read %zu jobs\n", jobs.size());
    }
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

void printDecodeFigures(double scale)
{
    CorvelService_getAllJobsInfo_result result;
    for (int i = 0; i < 10000; ++i) {
        JobDescription job;
        job.id = "6f1c2a9e-" + std::to_string(i);
        job.description = "Restore of fileserver-" + std::to_string(i) + " to the local disk";
        job.configuration.device_name = "fileserver-" + std::to_string(i);
        job.configuration.disks_names = {"Disk 0", "Disk 1"};
        job.current_work.text = "Restoring";
        result.success.push_back(job);
    }
    result.__isset.success = true;
    auto buffer = std::make_shared<transport::TMemoryBuffer>();
    protocol::TBinaryProtocol out(buffer);
    out.writeMessageBegin("getAllJobsInfo", protocol::T_REPLY, 1);
    result.write(&out);
    out.writeMessageEnd();
    const std::string reply = buffer->getBufferAsString();

    const int rounds = std::max(5, static_cast<int>(50 * scale));
    const double plain = decodeMedianUs(reply, false, rounds);
    const double bounded = decodeMedianUs(reply, true, rounds);
    std::printf("\nreading a reply of 10000 jobs (%zu B) from memory, median of %d (microseconds)\n\n", reply.size(),
                rounds);
    std::printf("%14s  %14s  %9s\n", "library plain", "size-checked", "ratio");
    std::printf("%14.1f  %14.1f  %8.2fx\n", plain, bounded, bounded / plain);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    double scale = 1.0;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--rounds-scale") == 0)
            scale = std::max(0.01, std::atof(argv[i + 1]));
    }
    if (qEnvironmentVariableIsEmpty("CORVEL_BIN_DIR"))
        qputenv("CORVEL_BIN_DIR", CORVEL_BENCH_BIN_DIR);
    if (qEnvironmentVariableIsEmpty("CORVEL_SOURCE_DIR"))
        qputenv("CORVEL_SOURCE_DIR", CORVEL_BENCH_SOURCE_DIR);

    QTemporaryDir dir;
    const QString certError = CorvelTest::ServiceSim::makeCerts(dir.path());
    if (!dir.isValid() || !certError.isEmpty()) {
        std::fprintf(stderr, "cannot make certificates: %s\n", qPrintable(certError));
        return 1;
    }

    std::printf("getAllJobsInfo round trip (microseconds; simulator on loopback, one client)\n\n");
    std::printf("%6s  %10s  %8s  %12s  %10s  %12s  %10s  %9s\n", "jobs", "reply", "rounds", "TLS median", "TLS p99",
                "plain median", "plain p99", "TLS/plain");
    for (const int jobs : {0, 100, 1000}) {
        const int rounds = std::max(20, static_cast<int>((jobs == 0 ? 2000 : jobs == 100 ? 1000 : 300) * scale));
        Figures tls, plain;
        if (!measure(dir.path(), jobs, false, rounds, tls) || !measure(dir.path(), jobs, true, rounds, plain))
            return 1;
        std::printf("%6d  %8zu B  %8d  %12.1f  %10.1f  %12.1f  %10.1f  %8.2fx\n", jobs, tls.replyBytes, rounds,
                    tls.medianUs, tls.p99Us, plain.medianUs, plain.p99Us, tls.medianUs / plain.medianUs);
        std::fflush(stdout);
    }
    printDecodeFigures(scale);
    return 0;
}
