#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Runs a fuzz target without a fuzzer: over each file named on the command line or found in a
// folder named there, and over that file cut at each of its bytes. Whatever once broke a target is
// thereby a test under every build.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// A longer file is not cut: the work grows with the square of the length.
constexpr std::size_t LONGEST_TO_CUT = 4096;

void RunOne(const std::vector<std::uint8_t>& content, std::size_t size) {
    // A copy of exactly this size, so that a read behind it is seen.
    const std::vector<std::uint8_t> input(content.begin(),
                                          content.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

unsigned int ReplayFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<std::uint8_t> content{std::istreambuf_iterator<char>(file), {}};
    unsigned int runs = 1;
    if (content.size() <= LONGEST_TO_CUT) {
        for (std::size_t size = 0; size < content.size(); ++size, ++runs) {
            RunOne(content, size);
        }
    }
    RunOne(content, content.size());
    return runs;
}

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& path) {
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(path)) {
        files.push_back(path);
        return files;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    unsigned int files = 0;
    unsigned int runs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& path : FilesOf(argv[i])) {
            // Told first, so that a crash names its input.
            std::printf("%s\n", path.c_str());
            std::fflush(stdout);
            runs += ReplayFile(path);
            ++files;
        }
    }
    std::printf("%u inputs, %u runs\n", files, runs);
    // A corpus that is not found would look like one that passes.
    return files > 0 ? 0 : 1;
}
