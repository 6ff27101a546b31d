#include "fault_processor.h"

#include "sim_log.h"

#include <chrono>
#include <thread>

namespace CorvelSim {

using apache::thrift::TApplicationException;
using apache::thrift::protocol::TProtocol;
using namespace apache::thrift::protocol;

namespace {

void skipArguments(TProtocol* in)
{
    in->skip(T_STRUCT);
    in->readMessageEnd();
    in->getTransport()->readEnd();
}

void writeEmptyReply(TProtocol* out, const std::string& name, int32_t seqid)
{
    out->writeMessageBegin(name, T_REPLY, seqid);
    out->writeStructBegin("result");
    out->writeFieldStop();
    out->writeStructEnd();
    out->writeMessageEnd();
    out->getTransport()->writeEnd();
    out->getTransport()->flush();
}

} // namespace

FaultProcessor::FaultProcessor(std::shared_ptr<CorvelService::CorvelServiceIf> handler,
                               std::map<std::string, Fault> faults)
    : CorvelService::CorvelServiceProcessor(std::move(handler))
    , m_faults(std::move(faults))
{
}

bool FaultProcessor::dispatchCall(TProtocol* in, TProtocol* out, const std::string& method, int32_t seqid,
                                  void* context)
{
    const auto it = m_faults.find(method);
    if (it == m_faults.end())
        return CorvelServiceProcessor::dispatchCall(in, out, method, seqid, context);

    const Fault& fault = it->second;
    switch (fault.kind) {
    case Fault::Delay:
        std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
        return CorvelServiceProcessor::dispatchCall(in, out, method, seqid, context);
    case Fault::Exception: {
        skipArguments(in);
        logLine(method + ": injected application exception");
        const TApplicationException error(TApplicationException::INTERNAL_ERROR, "Injected failure of " + method);
        out->writeMessageBegin(method, T_EXCEPTION, seqid);
        error.write(out);
        out->writeMessageEnd();
        out->getTransport()->writeEnd();
        out->getTransport()->flush();
        return true;
    }
    case Fault::Drop:
        skipArguments(in);
        logLine(method + ": injected drop, closing the connection");
        return false;
    case Fault::WrongName: {
        skipArguments(in);
        const std::string other = method == "getAllJobsInfo" ? "retrieveHyperVNetworks" : "getAllJobsInfo";
        logLine(method + ": injected reply named " + other);
        writeEmptyReply(out, other, seqid);
        return true;
    }
    case Fault::Oversized: {
        skipArguments(in);
        logLine(method + ": injected reply claiming " + std::to_string(fault.announced) +
                " elements or bytes, closing the connection");
        out->writeMessageBegin(method, T_REPLY, seqid);
        out->writeStructBegin("result");
        if (method == "getAllJobsInfo" || method == "retrieveMetadata" || method == "retrieveHyperVNetworks") {
            out->writeFieldBegin("success", T_LIST, 0);
            out->writeListBegin(T_STRUCT, static_cast<uint32_t>(fault.announced));
        } else if (method == "retrieveRestorePoints") {
            out->writeFieldBegin("success", T_LIST, 0);
            out->writeListBegin(T_STRING, static_cast<uint32_t>(fault.announced));
        } else {
            out->writeFieldBegin(method == "createJob" ? "success" : "unknown", T_STRING,
                                 method == "createJob" ? 0 : 99);
            out->writeI32(fault.announced);
        }
        out->getTransport()->flush();
        return false;
    }
    case Fault::NoSuccess:
        skipArguments(in);
        logLine(method + ": injected reply without a result");
        writeEmptyReply(out, method, seqid);
        return true;
    }
    return false;
}

} // namespace CorvelSim
