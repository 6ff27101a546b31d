#pragma once

#include "CorvelService.h"

#include "sim_options.h"

#include <map>
#include <string>

namespace CorvelSim {

// The generated processor, with the misbehaviour asked for on the command line.
class FaultProcessor : public CorvelService::CorvelServiceProcessor {
public:
    FaultProcessor(std::shared_ptr<CorvelService::CorvelServiceIf> handler, std::map<std::string, Fault> faults);

protected:
    bool dispatchCall(apache::thrift::protocol::TProtocol* in, apache::thrift::protocol::TProtocol* out,
                      const std::string& method, int32_t seqid, void* context) override;

private:
    std::map<std::string, Fault> m_faults;
};

} // namespace CorvelSim
