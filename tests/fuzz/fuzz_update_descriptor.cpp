// The update descriptor parser: the XML the update server sends.
#include "fuzz_qt.h"

#include "updater/update_descriptor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CorvelFuzz::quietQt();
    const QByteArray body = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    (void)CVUpdater::parseDescriptor(body);
    return 0;
}
