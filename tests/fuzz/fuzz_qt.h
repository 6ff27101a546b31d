#pragma once

#include "fuzz_target.h"

#include <QCoreApplication>
#include <QtGlobal>

// Shared by the fuzz targets: one QCoreApplication for the process and Qt's log lines dropped,
// so that an input costs its parse and nothing else.
namespace CorvelFuzz {

inline void quietQt()
{
    static const bool ready = [] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        static int argc = 1;
        static char name[] = "corvel-fuzz";
        static char* argv[] = {name, nullptr};
        new QCoreApplication(argc, argv);
        return true;
    }();
    Q_UNUSED(ready);
}

} // namespace CorvelFuzz
