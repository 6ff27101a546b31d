#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

namespace CorvelService {

enum class CallOutcome {
    Ok,
    // Refused by the service: the connection survives it.
    ApplicationFailure,
    // Broken in transport, or anything else the call threw.
    OtherFailure,
    // No client could be made for the call.
    Unreachable,
    // The caller's time limit passed first; the answer, if it comes, is dropped.
    TimedOut,
};

// What one call came to, with the failure's log line ready ("Application exception: ..." or
// "Unknown exception: ..."), for calls made on one thread and reported on another.
struct CallResult {
    CallOutcome outcome = CallOutcome::Ok;
    QString failure;
};

// Runs one synchronous service call and logs nothing.
CallResult tryServiceCall(const std::function<void()>& call);
// Logs the failure of a call at `level`; nothing for a success.
void logCallFailure(const CallResult& result, QtMsgType level = QtWarningMsg);

} // namespace CorvelService
