#include "jobs/service_call.h"

#include <thrift/TApplicationException.h>

#include <QDebug>

#include <exception>

namespace CvJobs {

CallOutcome callService(const std::function<void()>& call, bool logOtherFailure)
{
    try {
        call();
        return CallOutcome::Ok;
    } catch (const apache::thrift::TApplicationException& e) {
        qWarning().noquote() << QStringLiteral("Application exception: ") + QString::fromUtf8(e.what());
        return CallOutcome::ApplicationFailure;
    } catch (const std::exception& e) {
        if (logOtherFailure)
            qWarning().noquote() << QStringLiteral("Unknown exception: ") + QString::fromUtf8(e.what());
    } catch (...) {
        // Exceptions must not unwind through the event loop, whatever their type.
        if (logOtherFailure)
            qWarning().noquote() << QStringLiteral("Unknown exception: ") + QStringLiteral("non-standard exception");
    }
    return CallOutcome::OtherFailure;
}

} // namespace CvJobs
