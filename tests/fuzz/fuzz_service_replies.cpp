// The service client's result readers: a reply as it comes off the wire, read by every reader of the
// generated client with the protocol settings of the real connection.
#include "fuzz_target.h"

#include "service/bounded_reply.h"
#include "service/service_client.h"

#include <thrift/transport/TBufferTransports.h>

#include <exception>
#include <functional>
#include <memory>
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

const std::vector<std::function<void(Client&)>> Readers = {
    reader(&Client::recv_getAllJobsInfo),
    reader(&Client::recv_createJob),
    [](Client& c) { c.recv_startJob(); },
    [](Client& c) { c.recv_stopJob(); },
    [](Client& c) { c.recv_cancelJob(); },
    [](Client& c) { c.recv_deleteJob(); },
    reader(&Client::recv_getJobMutableSettings),
    [](Client& c) { c.recv_setJobMutableSettings(); },
    reader(&Client::recv_retrieveRestorePoints),
    reader(&Client::recv_retrieveMetadata),
    [](Client& c) { (void)c.recv_retrieveHyperVRamBytesUsed(); },
    reader(&Client::recv_retrieveHyperVNetworks),
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (const auto& read : Readers) {
        Client client(protocolOver(data, size));
        try {
            read(client);
        } catch (const std::exception&) {
            // A refused reply is the expected outcome for most inputs.
        }
    }
    return 0;
}
