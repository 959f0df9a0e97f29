#include <cstring>

#include "FuzzInput.h"
#include "util/TextLines.h"

// Lines without white space at their ends and without comments.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile memoryFile;
    CFuzzInput input(data, size);
    const auto comment = static_cast<char>(input.TakeByte());
    const std::string text = input.TakeRestAsText();
    std::FILE* const file = std::fopen(memoryFile.Fill(text), "rb");
    FUZZ_CHECK(file != nullptr);

    long lineNumber = 0;
    std::size_t total = 0;
    std::vector<char> line(CLEAN_LINE_ROOM);
    while (ReadNextCleanLine(line.data(), file, &lineNumber, comment) != nullptr) {
        const std::string clean = line.data();
        FUZZ_CHECK(!clean.empty() && clean.size() < CLEAN_LINE_ROOM);
        FUZZ_CHECK(TrimmedView(clean) == clean);
        // A quote that starts comments starts a quoted stretch first.
        FUZZ_CHECK(clean.front() != comment || comment == '"');
        total += clean.size();
    }
    FUZZ_CHECK(total <= text.size());
    FUZZ_CHECK(lineNumber >= 0 && static_cast<std::size_t>(lineNumber) <= text.size());
    std::fclose(file);
    return 0;
}
