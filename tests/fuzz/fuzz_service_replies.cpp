// The service client's result readers: a reply as it comes off the wire, read by the generated
// client with the protocol settings of the real connection. The message name picks the reader.
#include "fuzz_target.h"

#include "service/bounded_reply.h"
#include "service/service_client.h"

#include <thrift/transport/TBufferTransports.h>

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

using apache::thrift::transport::TMemoryBuffer;
using Client = CorvelService::CorvelServiceClient;

namespace {

std::shared_ptr<apache::thrift::protocol::TProtocol> protocolOver(const uint8_t* data, size_t size)
{
    auto buffer = std::make_shared<TMemoryBuffer>(const_cast<uint8_t*>(data), static_cast<uint32_t>(size),
                                                  TMemoryBuffer::OBSERVE);
    return CorvelService::makeBoundedProtocol(buffer);
}

template <typename Value> std::function<void(Client&)> reader(void (Client::*recv)(Value&))
{
    return [recv](Client& client) {
        Value value;
        (client.*recv)(value);
    };
}

const std::map<std::string, std::function<void(Client&)>> Readers = {
    {"createJob", reader(&Client::recv_createJob)},
    {"startJob", [](Client& c) { c.recv_startJob(); }},
    {"stopJob", [](Client& c) { c.recv_stopJob(); }},
    {"cancelJob", [](Client& c) { c.recv_cancelJob(); }},
    {"deleteJob", [](Client& c) { c.recv_deleteJob(); }},
    {"getJobMutableSettings", reader(&Client::recv_getJobMutableSettings)},
    {"setJobMutableSettings", [](Client& c) { c.recv_setJobMutableSettings(); }},
    {"retrieveRestorePoints", reader(&Client::recv_retrieveRestorePoints)},
    {"retrieveMetadata", reader(&Client::recv_retrieveMetadata)},
    {"retrieveHyperVRamBytesUsed", [](Client& c) { (void)c.recv_retrieveHyperVRamBytesUsed(); }},
    {"retrieveHyperVNetworks", reader(&Client::recv_retrieveHyperVNetworks)},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string name;
    apache::thrift::protocol::TMessageType type;
    int32_t sequence = 0;
    Client client(protocolOver(data, size));
    try {
        protocolOver(data, size)->readMessageBegin(name, type, sequence);
    } catch (const std::exception&) {
    }
    const auto found = Readers.find(name);
    try {
        if (found != Readers.end())
            found->second(client);
        else
            reader (&Client::recv_getAllJobsInfo)(client);
    } catch (const std::exception&) {
        // A refused reply is the expected outcome for most inputs.
    }
    return 0;
}
