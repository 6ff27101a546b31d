// A local cache's key file, opened with the password the seed repositories were made with.
#include "fuzz_target.h"

#include "json_reader.h"
#include "repository_crypto.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string contents(reinterpret_cast<const char*>(data), size);
    std::string error;
#ifdef CORVEL_FUZZING
    // Under the fuzzer a key derivation with the format's real parameters costs tens of milliseconds
    // per input; past this work the target stops after the JSON read, so the time goes to parsing.
    const auto document = Mirel::parseJson(contents, error);
    double work = 1.0;
    for (const char* name : {"N", "r", "p"})
        work *= static_cast<double>(document ? document->integer(name).value_or(0) : 0);
    if (work > 4096.0)
        return 0;
#endif
    (void)Mirel::openKeyFile(contents, "corvel-fuzz-passphrase", error);
    return 0;
}
