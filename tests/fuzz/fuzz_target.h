#pragma once

#include <cstddef>
#include <cstdint>

// Every fuzz target defines this; libFuzzer or the replay main calls it once per input.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
