// Every parser of the recovery API's replies, each given the same body.
#include "fuzz_qt.h"

#include "cloud/cloud_records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CorvelFuzz::quietQt();
    const QByteArray body = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    (void)VuskAPI::parseClients(body);
    (void)VuskAPI::parseDataSources(body);
    (void)VuskAPI::parseDevices(body);
    (void)VuskAPI::parseDeviceToken(body);
    (void)VuskAPI::parsePassphrase(body);
    return 0;
}
