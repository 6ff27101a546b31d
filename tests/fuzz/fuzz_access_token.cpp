// The access token decoder: any text the sign-in page hands over.
#include "fuzz_qt.h"

#include "session/auth_session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CorvelFuzz::quietQt();
    TmxAuth::AuthSession session;
    session.setToken(QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    (void)session.isValid();
    return 0;
}
