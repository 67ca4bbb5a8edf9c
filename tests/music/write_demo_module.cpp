// Writes the demonstration module to the file named by the argument.
#include <cstdio>

#include "tests/music/demo_module.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: write_demo_module OUT.xm\n", stderr);
        return 1;
    }
    const std::vector<uint8_t> bytes = XmWrite(DemoModule());
    std::FILE* f = std::fopen(argv[1], "wb");
    if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size() || std::fclose(f)) {
        std::fprintf(stderr, "write_demo_module: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
