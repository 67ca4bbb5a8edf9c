// xm2wav end to end: a module with several instruments and effects (the fuzzer's demo
// seed) becomes a WAV file; bad input gets one line and exit status 1 and never replaces
// an existing file.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

const char* kRoot = std::getenv("INVITRO_SOURCE_DIR");
const std::string kDemo = std::string(kRoot ? kRoot : ".") + "/tests/fuzz/seeds/demo.xm";
// One directory per process: ctest runs the two tests side by side (and other build
// trees may run them at the same time), and both write stderr.txt here.
const std::string kDir = "/tmp/invitro_xm2wav_test." + std::to_string(getpid());

int Xm2Wav(const std::string& arguments, std::string* errors = nullptr) {
    const std::string command =
        std::string(XM2WAV_PATH) + " " + arguments + " >/dev/null 2>" + kDir + "/stderr.txt";
    const int status = std::system(command.c_str());
    if (errors) {
        std::ifstream in(kDir + "/stderr.txt");
        errors->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint32_t Le32(const std::string& s, size_t at) {
    uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = v << 8 | static_cast<uint8_t>(s[at + i]);
    return v;
}

}  // namespace

TEST(Xm2Wav, RendersUntilTheSongStartsOverOrForTheSecondsAsked) {
    std::system(("mkdir -p " + kDir).c_str());
    ASSERT_EQ(Xm2Wav(kDemo + " " + kDir + "/demo.wav"), 0);
    const std::string wav = Slurp(kDir + "/demo.wav");
    ASSERT_GT(wav.size(), 44u);
    EXPECT_EQ(wav.substr(0, 4), "RIFF");
    EXPECT_EQ(wav.substr(8, 8), "WAVEfmt ");
    EXPECT_EQ(Le32(wav, 24), 44100u);
    EXPECT_EQ(Le32(wav, 40), wav.size() - 44);
    // Up to the break on row 56 of the last pattern: 224 rows of 6 ticks of 882 frames,
    // 8 rows of 4 ticks, then 17 rows of 4 ticks at BPM 144 (765 frames).
    EXPECT_EQ(Le32(wav, 40) / 4, 224 * 6 * 882u + 8 * 4 * 882u + 17 * 4 * 765u);

    ASSERT_EQ(Xm2Wav(kDemo + " " + kDir + "/one.wav --seconds 1"), 0);
    EXPECT_EQ(Slurp(kDir + "/one.wav").size(), 44u + 44100 * 4);
    EXPECT_EQ(Xm2Wav("--help"), 0);
    std::system(("rm -rf " + kDir).c_str());
}

TEST(Xm2Wav, BadInputFailsWithOneLineAndLeavesTheOutputAlone) {
    std::system(("mkdir -p " + kDir).c_str());
    std::ofstream(kDir + "/keep.wav") << "precious";
    std::ofstream(kDir + "/short.xm", std::ios::binary) << Slurp(kDemo).substr(0, 5000);
    std::ofstream(kDir + "/text.xm") << "not a module at all";
    for (const char* in : {"/missing.xm", "/short.xm", "/text.xm"}) {
        std::string errors;
        EXPECT_EQ(Xm2Wav(kDir + in + " " + kDir + "/keep.wav", &errors), 1) << in;
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
        EXPECT_EQ(Slurp(kDir + "/keep.wav"), "precious");
    }
    EXPECT_EQ(Xm2Wav(kDemo), 1);
    EXPECT_EQ(Xm2Wav("a.xm b.wav --loops"), 1);
    EXPECT_NE(std::system(("ls " + kDir + " | grep -q XXXXXX\\|keep.wav.").c_str()), 0);
    std::system(("rm -rf " + kDir).c_str());
}
