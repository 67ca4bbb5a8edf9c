// libFuzzer target: every input is a module image for the loader, the player and the
// mixer (see fuzz_xm_input.h). Built only with -DINVITRO_FUZZ=ON and clang.
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/fuzz_xm_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzXmModule(data, size);
    return 0;
}
