// Replays the fuzzers' seed corpus, the intro's tune and every input a fuzzer once
// crashed on (regressions/) through the same code as the fuzz targets, in every build.
#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz_xm_input.h"

namespace {

std::string SourceDir() {
    const char* dir = std::getenv("INVITRO_SOURCE_DIR");
    return dir ? dir : ".";
}

std::vector<std::string> FilesIn(const std::string& dir) {
    std::vector<std::string> files;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.' && std::string(e->d_name) != "README.md")
                files.push_back(dir + "/" + e->d_name);
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<uint8_t> Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
}

}  // namespace

TEST(FuzzCorpus, SeedsTuneAndPastCrashesPlayThrough) {
    const std::string root = SourceDir();
    std::vector<std::string> files = FilesIn(root + "/tests/fuzz/seeds");
    ASSERT_GE(files.size(), 5u) << "the seed corpus is missing";
    const std::vector<std::string> crashes = FilesIn(root + "/tests/fuzz/regressions");
    files.insert(files.end(), crashes.begin(), crashes.end());
    files.push_back(root + "/assets/tune.xm");
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        const std::vector<uint8_t> bytes = Slurp(path);
        ASSERT_FALSE(bytes.empty());
        FuzzXmLoad(bytes.data(), bytes.size());
        FuzzXmModule(bytes.data(), bytes.size());
    }
}
