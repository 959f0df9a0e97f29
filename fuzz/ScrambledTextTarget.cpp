#include <sstream>

#include "FuzzInput.h"
#include "rules/CreateEncoderInstance.h"
#include "rules/TextFileRawOrEncrypted.h"
#include "util/HexText.h"

// Scrambled files: each byte meets its byte of the key, and any file can be read as lines. An input
// is the length of the key, the key and a file.

namespace {

std::unique_ptr<CBaseEncoderDecoder> MakeEncoder(const std::vector<unsigned char>& key) {
    std::string keyText;
    BytesToHexString(key.data(), static_cast<unsigned int>(key.size()), keyText, ' ', false);
    auto encoder = CreateEncoderInstance("xor", keyText.c_str());
    FUZZ_CHECK(encoder != nullptr && encoder->Initialize().empty());
    return encoder;
}

std::string ContentOf(const char* path) {
    const CFileHandle file = OpenFileForReading(path);
    FUZZ_CHECK(file != nullptr);
    std::string all;
    std::string piece;
    while (ReadLinePiece(file.get(), 1000, piece)) {
        all += piece;
    }
    return all;
}

std::string Scrambled(std::string text, const std::vector<unsigned char>& key) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(text[i] ^ key[i % key.size()]);
    }
    return text;
}

std::string WithoutReturns(std::string text) {
    std::erase(text, '\r');
    return text;
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

std::string ReadAllLines(const char* path, CBaseEncoderDecoder* decoder) {
    CTextFileRawOrEncrypted reader(path, decoder);
    FUZZ_CHECK(reader.IsValidFile());
    std::string all;
    while (!reader.IsEOF()) {
        all += reader.ReadNextLine();
    }
    return all;
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
    std::vector<unsigned char> key = input.TakeBytes(input.TakeByte() + 1U);
    key.resize(std::max<std::size_t>(key.size(), 1));
    const std::string content = input.TakeRestAsText();
    plain.Fill(content);
    const auto encoder = MakeEncoder(key);

    FUZZ_CHECK(encoder->EncodeFile(plain.Path(), scrambled.Path()).empty());
    const std::string coded = ContentOf(scrambled.Path());
    FUZZ_CHECK(coded == Scrambled(content, key));
    FUZZ_CHECK(encoder->DecodeFile(scrambled.Path(), again.Path()).empty());
    FUZZ_CHECK(ContentOf(again.Path()) == content);

    FUZZ_CHECK(ReadAllLines(plain.Path(), nullptr) == content);
    FUZZ_CHECK(ReadAllLines(scrambled.Path(), encoder.get()) ==
               (LooksScrambled(coded) ? WithoutReturns(content) : coded));

    const std::vector<std::string> lines = SplitLines(WithoutReturns(content));
    std::vector<std::string> linesAgain;
    FUZZ_CHECK(encoder->EncodeTextLinesToFile(lines, scrambled.Path()).empty());
    FUZZ_CHECK(encoder->DecodeTextLinesFromFile(scrambled.Path(), linesAgain).empty());
    FUZZ_CHECK(linesAgain == lines);
    return 0;
}
