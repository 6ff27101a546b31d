// The service client's result readers: a reply as it comes off the wire, read by the generated
// client with the protocol settings of the real connection. The message name picks the reader.
#include "fuzz_target.h"

#include "service/bounded_reply.h"
#include "service/service_client.h"

#include <thrift/transport/TBufferTransports.h>

#include <exception>
#include <memory>
#include <string>
#include <vector>

using apache::thrift::protocol::TMessageType;
using apache::thrift::transport::TMemoryBuffer;

namespace {

std::shared_ptr<apache::thrift::protocol::TProtocol> protocolOver(const uint8_t* data, size_t size)
{
    auto buffer = std::make_shared<TMemoryBuffer>(const_cast<uint8_t*>(data), static_cast<uint32_t>(size),
                                                  TMemoryBuffer::OBSERVE);
    return CorvelService::makeBoundedProtocol(buffer);
}

std::string messageName(const uint8_t* data, size_t size)
{
    std::string name;
    TMessageType type;
    int32_t sequence = 0;
    try {
        protocolOver(data, size)->readMessageBegin(name, type, sequence);
    } catch (const std::exception&) {
    }
    return name;
}

void read(const std::string& name, CorvelService::CorvelServiceClient& client)
{
    if (name == "createJob") {
        std::string id;
        client.recv_createJob(id);
    } else if (name == "startJob") {
        client.recv_startJob();
    } else if (name == "stopJob") {
        client.recv_stopJob();
    } else if (name == "cancelJob") {
        client.recv_cancelJob();
    } else if (name == "deleteJob") {
        client.recv_deleteJob();
    } else if (name == "getJobMutableSettings") {
        CorvelService::JobMutableSettings settings;
        client.recv_getJobMutableSettings(settings);
    } else if (name == "setJobMutableSettings") {
        client.recv_setJobMutableSettings();
    } else if (name == "retrieveRestorePoints") {
        std::vector<std::string> points;
        client.recv_retrieveRestorePoints(points);
    } else if (name == "retrieveMetadata") {
        std::vector<CorvelService::DiskInfo> disks;
        client.recv_retrieveMetadata(disks);
    } else if (name == "retrieveHyperVRamBytesUsed") {
        (void)client.recv_retrieveHyperVRamBytesUsed();
    } else if (name == "retrieveHyperVNetworks") {
        std::vector<CorvelService::VirtualNetwork> networks;
        client.recv_retrieveHyperVNetworks(networks);
    } else {
        std::vector<CorvelService::JobDescription> jobs;
        client.recv_getAllJobsInfo(jobs);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string name = messageName(data, size);
    CorvelService::CorvelServiceClient client(protocolOver(data, size));
    try {
        read(name, client);
    } catch (const std::exception&) {
        // A refused reply is the expected outcome for most inputs.
    }
    return 0;
}
