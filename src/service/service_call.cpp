#include "service/service_call.h"

#include "service/service_texts.h"

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

CallResult tryServiceCall(const std::function<void()>& call)
{
    try {
        call();
        return {};
    } catch (const apache::thrift::TApplicationException& e) {
        return {CallOutcome::ApplicationFailure,
                QString(ServiceTexts::ApplicationException) + QString::fromUtf8(e.what())};
    } catch (const std::exception& e) {
        return {CallOutcome::OtherFailure, QString(ServiceTexts::UnknownException) + QString::fromUtf8(e.what())};
    } catch (...) {
        // Exceptions must not unwind through the event loop, whatever their type.
        return {CallOutcome::OtherFailure, QStringLiteral("Unknown exception: non-standard exception")};
    }
}

void logCallFailure(const CallResult& result, QtMsgType level)
{
    if (result.outcome != CallOutcome::Ok)
        logAt(level, result.failure);
}

} // namespace CorvelService
