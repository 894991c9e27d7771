// The entry that libFuzzer calls; each fuzzer is built with the name of its target.
#include "fuzz/Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vlox_fuzz::VLOX_FUZZ_TARGET(data, size);
    return 0;
}
