// xm2wav end to end: where a song ends (start-over, halt, jumps, loops), bad arguments,
// the kinds of input and output, and an interrupted run.
#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "music_test_util.h"

namespace {

const char* kRoot = std::getenv("INVITRO_SOURCE_DIR");
const std::string kDemo = std::string(kRoot ? kRoot : ".") + "/tests/fuzz/seeds/demo.xm";

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// One directory per test and process: ctest runs the tests side by side.
struct Xm2WavTest : ::testing::Test {
    std::string dir = "/tmp/invitro_xm2wav_test." + std::to_string(getpid()) + "." +
                      ::testing::UnitTest::GetInstance()->current_test_info()->name();
    void SetUp() override { std::system(("rm -rf " + dir + " && mkdir -p " + dir).c_str()); }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    // Runs a bash command in the directory, with xm2wav as $X; its exit status, with
    // its standard output and error (together) in *said.
    int Shell(const std::string& command, std::string* said = nullptr) {
        const int status = std::system(("cd " + dir + " && X=" + XM2WAV_PATH + " bash -c '" +
                                        command + "' >said.txt 2>&1 </dev/null")
                                           .c_str());
        if (said) *said = Slurp("said.txt");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int Run(const std::string& arguments, std::string* said = nullptr) {
        return Shell("$X " + arguments, said);
    }
    std::string Slurp(const std::string& name) { return ReadFile(dir + "/" + name); }
    void Write(const std::string& name, const std::vector<uint8_t>& bytes) {
        std::ofstream(dir + "/" + name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
    }
    // Whether a file whose name contains `part` is in the directory.
    bool Has(const std::string& part) {
        return std::system(("ls -a " + dir + " | grep -qF '" + part + "'").c_str()) == 0;
    }
};

uint32_t Le32(const std::string& s, size_t at) {
    uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = v << 8 | static_cast<uint8_t>(s[at + i]);
    return v;
}

int16_t Sample(const std::string& wav, size_t frame, int channel) {
    const size_t at = 44 + frame * 4 + channel * 2;
    return static_cast<int16_t>(static_cast<uint8_t>(wav[at]) | static_cast<uint8_t>(wav[at + 1])
                                                                    << 8);
}

// Two channels, eight-row patterns at speed 2 and BPM 125 (882 frames a tick), a tone
// that sounds to the end; `edit` adds the song's flow.
XmWriterModule FlowModule(int patterns, void (*edit)(XmWriterModule*)) {
    XmWriterModule m = ToneModule(2);
    m.tempo = 2;
    m.patterns.assign(patterns, XmWriterPattern{});
    m.orders.clear();
    for (int p = 0; p < patterns; ++p) {
        m.patterns[p].rows = 8;
        m.orders.push_back(static_cast<uint8_t>(p));
    }
    XmWriterAt(m.patterns[0], 2, 0, 0) = {49, 1, 0, 0, 0};
    edit(&m);
    return m;
}

}  // namespace

TEST_F(Xm2WavTest, EndsWhereTheSongEnds) {
    constexpr uint32_t kRow = 2 * 882;
    struct Case {
        const char* what;
        int patterns;
        void (*edit)(XmWriterModule*);
        uint32_t frames;
        bool halts;
    } cases[] = {
        {"F00 on row 3", 1,
         [](XmWriterModule* m) {
             XmWriterAt(m->patterns[0], 2, 3, 1) = {0, 0, 0, 15, 0};
         },
         3 * kRow + 882, true},
        {"F00 with BPM 32 (a 3445-frame tick over several slices)", 1,
         [](XmWriterModule* m) {
             XmWriterAt(m->patterns[0], 2, 1, 0) = {0, 0, 0, 15, 32};
             XmWriterAt(m->patterns[0], 2, 1, 1) = {0, 0, 0, 15, 0};
         },
         kRow + 3445, true},
        {"F00 after rows 1-2 loop twice more", 1,
         [](XmWriterModule* m) {
             XmWriterAt(m->patterns[0], 2, 1, 1) = {0, 0, 0, 14, 0x60};
             XmWriterAt(m->patterns[0], 2, 2, 1) = {0, 0, 0, 14, 0x62};
             XmWriterAt(m->patterns[0], 2, 4, 1) = {0, 0, 0, 15, 0};
         },
         8 * kRow + 882, true},
        {"B00 on row 1 of order 1 jumps back", 2,
         [](XmWriterModule* m) {
             XmWriterAt(m->patterns[1], 2, 1, 1) = {0, 0, 0, 11, 0};
         },
         10 * kRow, false},
        {"off the last order to restart position 1", 3,
         [](XmWriterModule* m) { m->restartPosition = 1; }, 24 * kRow, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Write("song.xm", XmWrite(FlowModule(c.patterns, c.edit)));
        std::string said;
        ASSERT_EQ(Run("song.xm end.wav", &said), 0) << said;
        const std::string wav = Slurp("end.wav");
        ASSERT_EQ(wav.size(), 44 + 4 * size_t{c.frames});
        EXPECT_EQ(Le32(wav, 40), 4 * c.frames);
        EXPECT_EQ(said.find("halts") != std::string::npos, c.halts) << said;
        if (!c.halts) continue;
        // The same sound as a plain render up to the fade, which ends in silence.
        ASSERT_EQ(Run("song.xm plain.wav --seconds " + std::to_string(c.frames / 44100.0 + 0.1)),
                  0);
        const std::string plain = Slurp("plain.wav");
        EXPECT_EQ(wav.substr(44, 4 * (c.frames - 128)), plain.substr(44, 4 * (c.frames - 128)));
        EXPECT_NE(Sample(wav, c.frames - 129, 0), 0);
        EXPECT_EQ(Sample(wav, c.frames - 1, 0), 0);
        EXPECT_EQ(Sample(wav, c.frames - 1, 1), 0);
    }
    // The committed demo tune: up to the break on row 56 of the last pattern, 224 rows
    // of 6 ticks of 882 frames, 8 rows of 4 ticks, then 17 rows of 4 ticks at BPM 144.
    ASSERT_EQ(Run(kDemo + " demo.wav"), 0);
    EXPECT_EQ(Le32(Slurp("demo.wav"), 40) / 4, 224 * 6 * 882u + 8 * 4 * 882u + 17 * 4 * 765u);
    ASSERT_EQ(Run(kDemo + " one.wav --seconds 1"), 0);
    EXPECT_EQ(Slurp("one.wav").size(), 44u + 44100 * 4);
}

TEST_F(Xm2WavTest, RefusesBadArgumentsAndInputsWithOneLine) {
    std::ofstream(dir + "/short.xm", std::ios::binary) << ReadFile(kDemo).substr(0, 5000);
    std::ofstream(dir + "/text.xm") << "not a module at all";
    std::ofstream(dir + "/keep.wav") << "precious";
    const std::string demo = kDemo + " keep.wav ";
    for (const std::string& arguments :
         {demo + "--loops inf", demo + "--loops 1e10", demo + "--loops 0.5", demo + "--loops 0",
          demo + "--seconds 1e-9", demo + "--seconds 601", demo + "--seconds nan",
          demo + "--seconds", demo + "--frobnicate", kDemo, std::string("missing.xm keep.wav"),
          std::string("short.xm keep.wav"), std::string("text.xm keep.wav"),
          std::string(". keep.wav"), kDemo + " /nonexistent/dir/out.wav"}) {
        std::string said;
        EXPECT_EQ(Run(arguments, &said), 1) << arguments;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << arguments << ": " << said;
        EXPECT_EQ(Slurp("keep.wav"), "precious");
    }
    EXPECT_FALSE(Has("keep.wav."));
    EXPECT_EQ(Run("--help"), 0);
}

TEST_F(Xm2WavTest, WritesEveryKindOfOutputInPlaceAndReadsStreams) {
    ASSERT_EQ(Run(kDemo + " plain.wav"), 0);
    const std::string plain = Slurp("plain.wav");
    // A link is followed; the link stays.
    std::ofstream(dir + "/target.wav") << "old";
    ASSERT_EQ(symlink("target.wav", (dir + "/link.wav").c_str()), 0);
    std::string said;
    ASSERT_EQ(Run(kDemo + " link.wav", &said), 0);
    struct stat info;
    ASSERT_EQ(lstat((dir + "/link.wav").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(Slurp("target.wav"), plain);
    // Standard output, to a file and to a pipe (the header then comes first, exact);
    // with the sound there, the words go to standard error, and no progress lines.
    EXPECT_EQ(Run(kDemo + " - > out.wav 2>words.txt"), 0);
    EXPECT_EQ(Slurp("out.wav"), plain);
    const std::string words = Slurp("words.txt");
    EXPECT_EQ(std::count(words.begin(), words.end(), '\n'), 2) << words;
    EXPECT_EQ(Run(kDemo + " - | cat > piped.wav"), 0);
    EXPECT_EQ(Slurp("piped.wav"), plain);
    // A FIFO stays one; a device is written, not replaced.
    ASSERT_EQ(mkfifo((dir + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(Shell("timeout 20 cat fifo > from_fifo.wav & $X " + kDemo + " fifo; wait"), 0);
    EXPECT_EQ(Slurp("from_fifo.wav"), plain);
    ASSERT_EQ(lstat((dir + "/fifo").c_str(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
    // A device node of the test's own where it may make one (as root, a faulty xm2wav
    // would replace /dev/null itself); else /dev/null, which a user cannot replace.
    std::string device = dir + "/null";
    if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) device = "/dev/null";
    EXPECT_EQ(Run(kDemo + " " + device), 0);
    ASSERT_EQ(lstat(device.c_str(), &info), 0);
    EXPECT_TRUE(S_ISCHR(info.st_mode));
    // Modules from standard input, /dev/stdin and a process substitution.
    for (const std::string& arguments :
         {"- in.wav < " + kDemo, "/dev/stdin in.wav < " + kDemo, "<(cat " + kDemo + ") in.wav"}) {
        std::remove((dir + "/in.wav").c_str());
        EXPECT_EQ(Run(arguments, &said), 0) << said;
        EXPECT_EQ(Slurp("in.wav"), plain) << arguments;
    }
    // The input itself, by name, by link or by another hard link, is never the output.
    ASSERT_EQ(std::system(("cp " + kDemo + " " + dir + "/song.xm && ln " + dir + "/song.xm " + dir +
                           "/hard.xm && ln -s song.xm " + dir + "/soft.xm")
                              .c_str()),
              0);
    for (const char* output : {"song.xm", "hard.xm", "soft.xm"}) {
        EXPECT_EQ(Run(std::string("song.xm ") + output, &said), 1) << output;
        EXPECT_NE(said.find("is the input"), std::string::npos) << said;
    }
    EXPECT_EQ(Slurp("song.xm"), ReadFile(kDemo));
}

TEST_F(Xm2WavTest, AnInterruptedRunKeepsAFinishedWavOfWhatWasRendered) {
    // Every one of 32 channels busy, so that 600 s take a while to render.
    XmWriterModule m = ToneModule(32);
    m.patterns[0].rows = 64;
    for (int row = 0; row < 64; ++row)
        for (int c = 0; c < 32; ++c)
            XmWriterAt(m.patterns[0], 32, row, c) = {static_cast<uint8_t>(30 + (row + c) % 40), 1,
                                                     0, 4, 0x8F};
    Write("busy.xm", XmWrite(m));
    for (int signal : {SIGINT, SIGTERM}) {
        const std::string out = dir + "/busy.wav";
        std::remove(out.c_str());
        const std::string in = dir + "/busy.xm";
        pid_t pid;
        char* argv[] = {const_cast<char*>(XM2WAV_PATH), const_cast<char*>(in.c_str()),
                        const_cast<char*>(out.c_str()), const_cast<char*>("--seconds"),
                        const_cast<char*>("600"),       nullptr};
        ASSERT_EQ(posix_spawn(&pid, XM2WAV_PATH, nullptr, nullptr, argv, environ), 0);
        // Stop once a megabyte (about 6 s) has been written to the temporary file.
        while (std::system(
                   ("test -n \"$(find " + dir + " -name \"busy.wav.*\" -size +1M)\"").c_str()) != 0)
            usleep(1000);
        kill(pid, signal);
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 130);
        EXPECT_FALSE(Has("busy.wav."));
        const std::string wav = Slurp("busy.wav");
        ASSERT_GT(wav.size(), 1u << 20);
        EXPECT_EQ(Le32(wav, 40), wav.size() - 44);
        EXPECT_EQ(Le32(wav, 4), wav.size() - 8);
        EXPECT_LT(wav.size(), 44 + 600 * 44100 * 4u);
    }
}
