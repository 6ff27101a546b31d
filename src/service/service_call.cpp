#include "service/service_call.h"

#include <thrift/TApplicationException.h>

#include <QDebug>
#include <QMessageLogger>

#include <exception>

namespace CorvelService {

namespace {

void logAt(QtMsgType level, const QString& text)
{
    QMessageLogger logger;
    switch (level) {
    case QtDebugMsg:
        logger.debug().noquote() << text;
        break;
    case QtInfoMsg:
        logger.info().noquote() << text;
        break;
    case QtCriticalMsg:
    case QtFatalMsg:
        logger.critical().noquote() << text;
        break;
    case QtWarningMsg:
        logger.warning().noquote() << text;
        break;
    }
}

} // namespace

CallOutcome callService(const std::function<void()>& call, QtMsgType level, bool logOtherFailure)
{
    try {
        call();
        return CallOutcome::Ok;
    } catch (const apache::thrift::TApplicationException& e) {
        logAt(level, QStringLiteral("Application exception: ") + QString::fromUtf8(e.what()));
        return CallOutcome::ApplicationFailure;
    } catch (const std::exception& e) {
        if (logOtherFailure)
            logAt(level, QStringLiteral("Unknown exception: ") + QString::fromUtf8(e.what()));
    } catch (...) {
        // Exceptions must not unwind through the event loop, whatever their type.
        if (logOtherFailure)
            logAt(level, QStringLiteral("Unknown exception: ") + QStringLiteral("non-standard exception"));
    }
    return CallOutcome::OtherFailure;
}

} // namespace CorvelService
