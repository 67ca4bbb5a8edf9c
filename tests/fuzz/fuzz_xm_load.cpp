// libFuzzer target for the loader alone: every input is loaded, walked and freed (see
// fuzz_xm_input.h). Built only with -DINVITRO_FUZZ=ON and clang.
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/fuzz_xm_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzXmLoad(data, size);
    return 0;
}
