#pragma once

#include <QtGlobal>

#include <functional>

namespace CorvelService {

enum class CallOutcome { Ok, ApplicationFailure, OtherFailure };

// Runs one synchronous service call and logs its failure at `level`: "Application exception: " for
// the RPC library's application exception (the connection survives it), "Unknown exception: " for
// anything else. logOtherFailure=false keeps a known outage quiet.
CallOutcome callService(const std::function<void()>& call, QtMsgType level = QtWarningMsg, bool logOtherFailure = true);

} // namespace CorvelService
