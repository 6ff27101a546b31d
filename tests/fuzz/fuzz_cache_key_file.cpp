// A local cache's key file, opened with the password the seed repositories were made with.
#include "fuzz_target.h"

#include "json_reader.h"
#include "repository_crypto.h"

#include <string>

namespace {

const std::string Password = "corvel-fuzz-passphrase";

#ifdef CORVEL_FUZZING
// Under the fuzzer a key derivation with the format's real parameters costs tens of
// milliseconds per input; past this work the target stops after the JSON read, so the fuzzer
// spends its time on the parsing and the checks around the derivation instead.
bool tooCostly(const std::string& contents)
{
    std::string error;
    const auto document = Mirel::parseJson(contents, error);
    double work = 1.0;
    for (const char* name : {"N", "r", "p"})
        work *= static_cast<double>(document ? document->integer(name).value_or(0) : 0);
    return work > 4096.0;
}
#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string contents(reinterpret_cast<const char*>(data), size);
#ifdef CORVEL_FUZZING
    if (tooCostly(contents))
        return 0;
#endif
    std::string error;
    (void)Mirel::openKeyFile(contents, Password, error);
    return 0;
}
