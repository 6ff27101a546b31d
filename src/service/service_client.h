#pragma once

#include "CorvelService.h"

#include <thrift/transport/TSSLSocket.h>

#include <cstdint>
#include <memory>
#include <string>

namespace CorvelService {

// Largest string and container a reply may announce; a corrupt or hostile length fails the
// read instead of making the console allocate it.
constexpr int32_t kMaxReplyStringBytes = 64 * 1024 * 1024;
constexpr int32_t kMaxReplyContainerElements = 1000000;

// TLS 1.2 socket factory with the console's certificate pair from workingDir
// ("/tolvex.crt", "/tolvex.key"); empty on failure. Never throws.
std::shared_ptr<apache::thrift::transport::TSSLSocketFactory> createSslSocketFactory(const std::string& workingDir);

// Connected client of the local Corvel service on localhost:9000; empty on failure. Never throws.
std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir);

// Same, on another port or host name (tests and tools). The certificate name is still checked
// against "localhost".
std::shared_ptr<CorvelServiceIf> createServiceClient(const std::string& workingDir, const std::string& host,
                                                     int port);

} // namespace CorvelService
