#include "auth/cloud_call_retry.h"

#include "cloud/vusk_request.h"

namespace TmxAuth {

CloudCallRetry::CloudCallRetry(AuthSession* session, QWidget* parent, int retries, QString authUrl)
    : m_session(session)
    , m_parent(parent)
    , m_retries(retries)
    , m_authUrl(std::move(authUrl))
{
}

bool CloudCallRetry::retryAfter(const QString& name, const VuskAPI::RequestError& error)
{
    const int outcome = handleRequestError(m_parent, *m_session, error, m_authUrl, m_tokenSource);
    if (outcome == 0)
        return true;
    if (outcome == 2) {
        VuskAPI::VuskRequest::logRequestError(name, error, m_retries - m_used);
        if (m_used < m_retries) {
            ++m_used;
            return true;
        }
    }
    showRequestError(m_parent, error);
    m_used = 0;
    return false;
}

} // namespace TmxAuth
