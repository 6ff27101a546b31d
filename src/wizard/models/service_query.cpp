#include "wizard/models/service_query.h"

#include <QDebug>

namespace Corvel {

using namespace CorvelService;

namespace {

void attempt(ServiceConnection& connection, QObject* context, const ServiceConnection::Call& call, int retries,
             int used, const CallOptions& options, std::function<void(CallOutcome)> done)
{
    connection.request(
        context, call,
        [&connection, context, call, retries, used, options, done](const CallResult& result) {
            switch (result.outcome) {
            case CallOutcome::Ok:
            case CallOutcome::Unreachable:
            case CallOutcome::TimedOut:
                done(result.outcome);
                return;
            case CallOutcome::ApplicationFailure:
            case CallOutcome::OtherFailure:
                break;
            }
            if (retries < 0) {
                done(result.outcome);
                return;
            }
            qInfo().noquote() << "Retrying attempts left: " + QString::number(retries - used);
            if (used < retries)
                attempt(connection, context, call, retries, used + 1, options, done);
            else
                done(result.outcome);
        },
        options);
}

} // namespace

void askService(ServiceConnection& connection, QObject* context, ServiceConnection::Call call, int retries,
                QtMsgType level, int timeoutMs, std::function<void(CallOutcome)> done)
{
    CallOptions options;
    options.level = level;
    options.timeoutMs = timeoutMs;
    attempt(connection, context, call, retries, 0, options, std::move(done));
}

} // namespace Corvel
