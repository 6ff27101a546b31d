#pragma once

#include "CorvelService.h"
#include "service/bounded_reply.h"

#include <thrift/transport/TSSLSocket.h>

#include <QString>

#include <cstdint>
#include <memory>
#include <string>

namespace CorvelService {

// TLS 1.2 socket factory with the console's certificate pair from workingDir
// ("/tolvex.crt", "/tolvex.key"); empty on failure. Never throws.
std::shared_ptr<apache::thrift::transport::TSSLSocketFactory> createSslSocketFactory(const std::string& workingDir);

// Connected client of the local Corvel service at host:port (the console: "localhost" and the
// settings' port); empty on failure. Never throws. The certificate name is checked against
// "localhost" whatever the host.
std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir, const std::string& host, int port,
                                                     const ReplyLimits& limits = {});

// While one lives on a thread, the client construction there logs none of its failures and keeps
// the last one instead: reconnection during an outage that has been reported already.
class QuietConnect {
public:
    QuietConnect();
    ~QuietConnect();
    QuietConnect(const QuietConnect&) = delete;
    QuietConnect& operator=(const QuietConnect&) = delete;
    // The last failure line kept on this thread.
    static QString lastFailure();
};

// Sends the Thrift library's own diagnostics (connection failures and the like), which it would
// otherwise print on standard error only, to the log as warnings. Idempotent.
void routeThriftDiagnosticsToLog();

} // namespace CorvelService
