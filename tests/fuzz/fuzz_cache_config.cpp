// A local cache's decrypted `config` and the JSON reader under it.
#include "fuzz_target.h"

#include "json_reader.h"
#include "repository_crypto.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    (void)Mirel::configVersion(text, error);
    (void)Mirel::decodeBase64(text);
    return 0;
}
