// Writes the seed corpus of the service reply target: the simulator's handler answers one call of
// each kind (a refused one included) and its replies are kept exactly as they go on the wire.
// Usage: make_service_replies FOLDER
#include "demo_data.h"
#include "job_store.h"
#include "sim_handler.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;

namespace {

std::string answer(CorvelService::CorvelServiceProcessor& processor,
                   const std::function<void(CorvelService::CorvelServiceClient&)>& send)
{
    auto request = std::make_shared<TMemoryBuffer>();
    auto reply = std::make_shared<TMemoryBuffer>();
    CorvelService::CorvelServiceClient client(std::make_shared<TBinaryProtocol>(request));
    send(client);
    processor.process(std::make_shared<TBinaryProtocol>(request), std::make_shared<TBinaryProtocol>(reply), nullptr);
    return reply->getBufferAsString();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_service_replies FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    CorvelSim::JobStore store;
    store.addDemoJobs(6);
    auto handler = std::make_shared<CorvelSim::SimHandler>(store);
    CorvelService::CorvelServiceProcessor processor(handler);
    const std::string firstJob = store.allJobs().front().id;

    const std::string host = "fs-01.northwind.example";
    const std::string token = "device-token-1001-seed";
    const std::pair<const char*, std::function<void(CorvelService::CorvelServiceClient&)>> calls[] = {
        {"getAllJobsInfo", [](auto& c) { c.send_getAllJobsInfo(); }},
        {"retrieveRestorePoints", [&](auto& c) { c.send_retrieveRestorePoints(host, token); }},
        {"retrieveMetadata", [&](auto& c) { c.send_retrieveMetadata(host, token, "2026_01_05_10_00_00"); }},
        {"retrieveHyperVRamBytesUsed", [](auto& c) { c.send_retrieveHyperVRamBytesUsed(); }},
        {"retrieveHyperVNetworks", [](auto& c) { c.send_retrieveHyperVNetworks(); }},
        {"getJobMutableSettings", [&](auto& c) { c.send_getJobMutableSettings(firstJob); }},
        {"setJobMutableSettings", [&](auto& c) { c.send_setJobMutableSettings(firstJob, {}); }},
        {"createJob",
         [](auto& c) {
             const auto type = CorvelService::JobType::Virtualization;
             c.send_createJob(type, "seed", CorvelSim::DemoData::demoConfiguration(0, type));
         }},
        {"startJob-refused", [](auto& c) { c.send_startJob("no-such-job"); }},
        {"deleteJob", [&](auto& c) { c.send_deleteJob(firstJob); }},
    };
    for (const auto& [name, send] : calls) {
        std::ofstream(folder + "/" + name + ".bin", std::ios::binary) << answer(processor, send);
        std::printf("%s\n", name);
    }
    return 0;
}
