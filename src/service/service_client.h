#pragma once

#include "CorvelService.h"
#include "service/bounded_reply.h"

#include <thrift/transport/TSSLSocket.h>

#include <cstdint>
#include <memory>
#include <string>

namespace CorvelService {

// TLS 1.2 socket factory with the console's certificate pair from workingDir
// ("/tolvex.crt", "/tolvex.key"); empty on failure. Never throws.
std::shared_ptr<apache::thrift::transport::TSSLSocketFactory> createSslSocketFactory(const std::string& workingDir);

// Connected client of the local Corvel service on localhost:9000; empty on failure. Never throws.
std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir);

// Same, on another port or host name (tests and tools). The certificate name is still checked
// against "localhost".
std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir, const std::string& host, int port,
                                                     const ReplyLimits& limits = {});

// Sends the Thrift library's own diagnostics (connection failures and the like), which it would
// otherwise print on standard error only, to the log as warnings. Idempotent.
void routeThriftDiagnosticsToLog();

} // namespace CorvelService
