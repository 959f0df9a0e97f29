#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// Runs a fuzz target without a fuzzer: over each file named on the command line or found in a
// folder named there, and over that file cut at each of its bytes. So whatever once broke a target
// is tested in every build.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

unsigned int Replay(const std::filesystem::path& path) {
    // Printed first, so that a crash names its input.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t size = 0; size <= content.size(); ++size) {
        // A copy of exactly this size, so that a read past its end is seen.
        const std::vector<std::uint8_t> input(content.data(), content.data() + size);
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    unsigned int files = 0;
    for (const std::filesystem::path path : std::vector<const char*>(argv + 1, argv + argc)) {
        if (!std::filesystem::is_directory(path)) {
            files += Replay(path);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            files += Replay(entry.path());
        }
    }
    std::printf("%u inputs\n", files);
    // A corpus that is not found would look like one that passes.
    return files > 0 ? 0 : 1;
}
