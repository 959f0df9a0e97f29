#include <sstream>

#include "FuzzInput.h"
#include "image/HexFindings.h"
#include "image/ImageText.h"
#include "support/FullHexRules.h"
#include "util/FileHandle.h"

// Any text as an Intel HEX file. The loader, fast as it is, makes of it what the rules say, and a
// check finds an error in each file that the loader refuses.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const std::string text(data, data + size);
    const char* const path = file.Fill(text);
    for (const bool allowOverlap : {false, true}) {
        CChipImageByteData image("", "", "");
        CChipImageByteData expected("", "", "");
        const std::string error = LoadByFullRules(path, allowOverlap, expected);
        FUZZ_CHECK(image.LoadFromHexFile(path, true, allowOverlap) == error);
        FUZZ_CHECK(ImageText(image) == ImageText(expected));
        FUZZ_CHECK(allowOverlap || error.empty() ||
                   StatusOfFindings(FindInHexFile(OpenFileForReading(path).get(), path)) == 2);
    }
    // Callers of the reader may hand it lines that no check has seen.
    CIntelHexReader reader;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        unsigned int address = 0;
        unsigned short type = 0;
        std::vector<unsigned char> bytes;
        reader.ProcessInputLine(line.c_str(), &address, bytes, &type);
        FUZZ_CHECK(bytes.size() <= line.size());
    }
    return 0;
}
