// xm2wav end to end: a module with several instruments and effects becomes a WAV file;
// bad input gets one line and exit status 1 and never replaces an existing file.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/music/demo_module.h"

namespace {

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

void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

uint32_t Le32(const std::string& s, size_t at) {
    return static_cast<uint8_t>(s[at]) | static_cast<uint8_t>(s[at + 1]) << 8 |
           static_cast<uint8_t>(s[at + 2]) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(s[at + 3])) << 24;
}

}  // namespace

TEST(Xm2Wav, RendersUntilTheSongStartsOverOrForTheSecondsAsked) {
    std::system(("mkdir -p " + kDir).c_str());
    const std::vector<uint8_t> module = XmWrite(DemoModule());
    Write(kDir + "/demo.xm", std::string(module.begin(), module.end()));
    ASSERT_EQ(Xm2Wav(kDir + "/demo.xm " + kDir + "/demo.wav"), 0);
    const std::string wav = Slurp(kDir + "/demo.wav");
    ASSERT_GT(wav.size(), 44u);
    EXPECT_EQ(wav.substr(0, 4), "RIFF");
    EXPECT_EQ(wav.substr(8, 8), "WAVEfmt ");
    EXPECT_EQ(Le32(wav, 24), 44100u);
    EXPECT_EQ(Le32(wav, 40), wav.size() - 44);
    // Up to the break on row 56 of the last pattern: 224 rows of 6 ticks of 882 frames,
    // 8 rows of 4 ticks, then 17 rows of 4 ticks at BPM 144 (765 frames).
    EXPECT_EQ(Le32(wav, 40) / 4, 224 * 6 * 882u + 8 * 4 * 882u + 17 * 4 * 765u);

    ASSERT_EQ(Xm2Wav(kDir + "/demo.xm " + kDir + "/one.wav --seconds 1"), 0);
    EXPECT_EQ(Slurp(kDir + "/one.wav").size(), 44u + 44100 * 4);
    EXPECT_EQ(Xm2Wav("--help"), 0);
    std::system(("rm -rf " + kDir).c_str());
}

TEST(Xm2Wav, BadInputFailsWithOneLineAndLeavesTheOutputAlone) {
    std::system(("mkdir -p " + kDir).c_str());
    Write(kDir + "/keep.wav", "precious");
    const std::vector<uint8_t> module = XmWrite(DemoModule());
    Write(kDir + "/short.xm", std::string(module.begin(), module.begin() + 5000));
    Write(kDir + "/text.xm", "not a module at all");
    const std::string cases[] = {kDir + "/missing.xm", kDir + "/short.xm", kDir + "/text.xm"};
    for (const std::string& in : cases) {
        std::string errors;
        EXPECT_EQ(Xm2Wav(in + " " + kDir + "/keep.wav", &errors), 1) << in;
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
        EXPECT_EQ(Slurp(kDir + "/keep.wav"), "precious");
    }
    EXPECT_EQ(Xm2Wav(kDir + "/demo.xm"), 1);
    EXPECT_EQ(Xm2Wav("a.xm b.wav --loops"), 1);
    EXPECT_EQ(std::system(("ls " + kDir + " | grep -q XXXXXX\\|keep.wav.").c_str()) != 0, true);
    std::system(("rm -rf " + kDir).c_str());
}
