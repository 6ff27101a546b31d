#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

namespace CorvelService {

enum class CallOutcome { Ok, ApplicationFailure, OtherFailure };

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

// Runs one synchronous service call and logs its failure at `level`: "Application exception: " for
// the RPC library's application exception (the connection survives it), "Unknown exception: " for
// anything else. logOtherFailure=false keeps a known outage quiet.
CallOutcome callService(const std::function<void()>& call, QtMsgType level = QtWarningMsg, bool logOtherFailure = true);

} // namespace CorvelService
