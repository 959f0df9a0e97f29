#include <sstream>

#include "FuzzInput.h"
#include "rules/CreateEncoderInstance.h"
#include "rules/TextFileRawOrEncrypted.h"
#include "util/HexText.h"

// Scrambled files: each byte meets its byte of the key, and any file can be read as lines. An input
// is the length of the key, the key and a file.

namespace {

std::string ReadAllLines(const char* path, CBaseEncoderDecoder* decoder) {
    CTextFileRawOrEncrypted reader(path, decoder);
    FUZZ_CHECK(reader.IsValidFile());
    std::string all;
    while (!reader.IsEOF()) {
        all += reader.ReadNextLine();
    }
    return all;
}

// As an editor shows them: one after a last line feed, too.
std::vector<std::string> SplitLines(const std::string& text) {
    std::istringstream rest(text + '\n');
    std::vector<std::string> lines;
    for (std::string line; std::getline(rest, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool LooksScrambled(const std::string& content) {
    const std::string start = content.substr(0, 200);
    return std::any_of(start.begin(), start.end(), [](char c) {
        return c != '\n' && c != '\r' && (c < ' ' || static_cast<unsigned char>(c) > 127);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile plain;
    static CMemoryFile scrambled;
    static CMemoryFile again;
    CFuzzInput input(data, size);
    Bytes key = input.TakeBytes(input.TakeByte() + 1U);
    key.resize(std::max<std::size_t>(key.size(), 1));
    std::string keyText;
    BytesToHexString(key.data(), static_cast<unsigned int>(key.size()), keyText, ' ', false);
    const auto encoder = CreateEncoderInstance("xor", keyText.c_str());
    FUZZ_CHECK(encoder != nullptr && encoder->Initialize().empty());
    std::string content = input.TakeRestAsText();
    std::string coded = content;
    for (std::size_t i = 0; i < coded.size(); ++i) {
        coded[i] = static_cast<char>(coded[i] ^ key[i % key.size()]);
    }

    plain.Fill(content);
    FUZZ_CHECK(encoder->EncodeFile(plain.Path(), scrambled.Path()).empty());
    FUZZ_CHECK(ReadAllLines(scrambled.Path(), nullptr) == coded);
    FUZZ_CHECK(encoder->DecodeFile(scrambled.Path(), again.Path()).empty());
    FUZZ_CHECK(ReadAllLines(again.Path(), nullptr) == content);
    const std::string read = ReadAllLines(scrambled.Path(), encoder.get());

    std::erase(content, '\r');
    FUZZ_CHECK(read == (LooksScrambled(coded) ? content : coded));
    const std::vector<std::string> lines = SplitLines(content);
    std::vector<std::string> linesAgain;
    FUZZ_CHECK(encoder->EncodeTextLinesToFile(lines, scrambled.Path()).empty());
    FUZZ_CHECK(encoder->DecodeTextLinesFromFile(scrambled.Path(), linesAgain).empty());
    FUZZ_CHECK(linesAgain == lines);
    FUZZ_CHECK(encoder->DecodeFile(scrambled.Path(), again.Path()).empty());
    FUZZ_CHECK(ReadAllLines(again.Path(), nullptr) == content + '\n');
    return 0;
}
