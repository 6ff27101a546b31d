#pragma once

#include "service/service_connection.h"

#include <functional>

namespace Corvel {

// One question to the service through the connection's worker, asked again up to `retries` times
// after a failure ("Retrying attempts left: N"). Without a client, or once the time limit has
// passed, it is not asked again: the service is away or silent. With `retries` below 0 it is asked
// once and nothing is logged here. `done` hears the last outcome, on the context's thread.
void askService(CorvelService::ServiceConnection& connection, QObject* context,
                CorvelService::ServiceConnection::Call call, int retries, QtMsgType level, int timeoutMs,
                std::function<void(CorvelService::CallOutcome)> done);

} // namespace Corvel
