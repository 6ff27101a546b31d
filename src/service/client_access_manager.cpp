#include "service/client_access_manager.h"

#include <utility>

namespace CorvelService {

using apache::thrift::transport::AccessManager;

ClientAccessManager::ClientAccessManager(std::string expectedHost)
    : m_expectedHost(std::move(expectedHost))
{
}

// The address never refuses the peer. It answers "no decision" rather than "allow" because the
// library treats a decision here as final and would then never look at the certificate's names.
AccessManager::Decision ClientAccessManager::verify(const sockaddr_storage& /*address*/) noexcept
{
    return SKIP;
}

AccessManager::Decision ClientAccessManager::verify(const std::string& /*host*/, const char* name, int size) noexcept
{
    if (m_expectedHost.empty())
        return ALLOW;
    if (name == nullptr || size < 0)
        return DENY;
    return nameMatches(m_expectedHost, std::string(name, static_cast<size_t>(size))) ? ALLOW : DENY;
}

AccessManager::Decision ClientAccessManager::verify(const sockaddr_storage& /*address*/, const char* /*data*/,
                                                    int /*size*/) noexcept
{
    return m_expectedHost.empty() ? ALLOW : SKIP;
}

bool ClientAccessManager::nameMatches(const std::string& expectedHost, const std::string& certificateName)
{
    std::string tail = certificateName;
    const auto star = tail.find('*');
    if (star != std::string::npos)
        tail.erase(0, star + 1);
    if (tail.size() > expectedHost.size())
        return false;
    return expectedHost.compare(expectedHost.size() - tail.size(), tail.size(), tail) == 0;
}

} // namespace CorvelService
