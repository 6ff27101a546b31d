#pragma once

#include <thrift/transport/TSSLSocket.h>

#include <string>

namespace CorvelService {

// Decides on the names in the service's certificate. The name rule is deliberately lax (see
// verify below): the service certificate is pinned as the only trusted certificate anyway.
class ClientAccessManager : public apache::thrift::transport::AccessManager {
public:
    explicit ClientAccessManager(std::string expectedHost);

    Decision verify(const sockaddr_storage& address) noexcept override;
    Decision verify(const std::string& host, const char* name, int size) noexcept override;
    Decision verify(const sockaddr_storage& address, const char* data, int size) noexcept override;

    // The DNS-name rule on its own: everything up to and including the first '*' is dropped,
    // the rest must end the expected host (byte-wise, case-sensitive).
    static bool nameMatches(const std::string& expectedHost, const std::string& certificateName);

private:
    std::string m_expectedHost;
};

} // namespace CorvelService
