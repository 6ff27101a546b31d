#include "cloud/cloud_call_retry.h"

#include "cloud/cloud_texts.h"
#include "cloud/vusk_request.h"

#include <QDebug>

namespace VuskAPI {

void logFailureKind(const RequestError& error)
{
    switch (error.kind) {
    case RequestError::ServerError:
        qCritical().noquote() << CloudTexts::ServerErrorCode + QString::number(error.code) +
                                     error.serverAnswer(QStringLiteral(". "));
        break;
    case RequestError::InternalError:
        qCritical().noquote() << CloudTexts::InternalErrorCode + QString::number(error.code) + CloudTexts::Description +
                                     error.description;
        break;
    case RequestError::AuthenticationError:
        break;
    }
}

CloudCallRetry::CloudCallRetry(int retries, ReSignIn reSignIn, Report report)
    : m_retries(retries)
    , m_reSignIn(std::move(reSignIn))
    , m_report(std::move(report))
{
}

bool CloudCallRetry::retryAfter(const QString& name, const RequestError& error)
{
    if (error.kind == RequestError::AuthenticationError) {
        if (m_reSignIn && m_reSignIn())
            return true;
    } else {
        logFailureKind(error);
        VuskRequest::logRequestError(name, error, m_retries - m_used);
        if (m_used < m_retries) {
            ++m_used;
            return true;
        }
    }
    if (m_report)
        m_report(error);
    m_used = 0;
    return false;
}

} // namespace VuskAPI
