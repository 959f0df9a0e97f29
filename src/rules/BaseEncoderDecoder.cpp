#include "rules/BaseEncoderDecoder.h"

#include <filesystem>
#include <sstream>

#include "util/FileHandle.h"

namespace {

std::string Quoted(const char* text) {
    return '"' + std::string(text == nullptr ? "" : text) + '"';
}

}  // namespace

const CBaseEncoderDecoder::CONVERSION CBaseEncoderDecoder::ENCODING{
    &CBaseEncoderDecoder::StartEncode, &CBaseEncoderDecoder::EncodeBytes};
const CBaseEncoderDecoder::CONVERSION CBaseEncoderDecoder::DECODING{
    &CBaseEncoderDecoder::StartDecode, &CBaseEncoderDecoder::DecodeBytes};

std::string CBaseEncoderDecoder::EncodeFile(const char* source, const char* destination) {
    return ConvertFile(source, destination, ENCODING);
}

std::string CBaseEncoderDecoder::DecodeFile(const char* source, const char* destination) {
    return ConvertFile(source, destination, DECODING);
}

std::string CBaseEncoderDecoder::EncodeTextLinesToFile(const std::vector<std::string>& lines,
                                                       const char* path) {
    if (lines.empty()) {
        return "No Input Lines to encode";
    }
    std::string text;
    for (const std::string& line : lines) {
        text.append(line).append("\n");
    }
    const CFileHandle input(::fmemopen(text.data(), text.size(), "rb"));
    return input ? ConvertToFile(input.get(), "", path, ENCODING) : "Out of memory";
}

std::string CBaseEncoderDecoder::DecodeTextLinesFromFile(const char* path,
                                                         std::vector<std::string>& lines) {
    const CFileHandle input = OpenFileForReading(path);
    if (!input) {
        return "Failed to open " + Quoted(path) + " for reading";
    }
    std::string text;
    std::string error = StartDecode();
    if (error.empty()) {
        error = ConvertBlocks(input.get(), path, DECODING, [&](const CByteBuffer& block) {
            text.append(block.GetDataBuffer(), block.GetDataBuffer() + block.GetDataByteSize());
            return std::string();
        });
    }
    std::erase(text, '\r');
    std::istringstream rest(text);
    for (std::string line; error.empty() && std::getline(rest, line);) {
        lines.push_back(line);
    }
    return error;
}

std::string CBaseEncoderDecoder::ConvertFile(const char* source, const char* destination,
                                             const CONVERSION& conversion) {
    const CFileHandle input = OpenFileForReading(source);
    if (!input) {
        // Odd as it is, callers may compare this text.
        return "File " + Quoted(source) + " dest not exists";
    }
    std::error_code noSuchFile;
    if (destination != nullptr && std::filesystem::equivalent(source, destination, noSuchFile)) {
        // Opening the destination would empty the source before it is read.
        return Quoted(source) + " cannot be converted onto itself";
    }
    return ConvertToFile(input.get(), source, destination, conversion);
}

std::string CBaseEncoderDecoder::ConvertToFile(std::FILE* input, const char* source,
                                               const char* destination,
                                               const CONVERSION& conversion) {
    std::string error = (this->*conversion.start)();
    if (!error.empty()) {
        return error;
    }
    CFileHandle output(destination == nullptr ? nullptr : std::fopen(destination, "wb"));
    if (!output) {
        return "Failed to open " + Quoted(destination) + " for writing";
    }
    const std::string writeError = "Failed to write " + Quoted(destination);
    error = ConvertBlocks(input, source, conversion, [&](const CByteBuffer& block) {
        const unsigned int size = block.GetDataByteSize();
        const bool written = std::fwrite(block.GetDataBuffer(), 1, size, output.get()) == size;
        return written ? "" : writeError;
    });
    // A full disk may show only here.
    const bool closed = std::fclose(output.release()) == 0;
    return error.empty() && !closed ? writeError : error;
}

// Converts the input block by block and passes each block on, until the first error.
std::string CBaseEncoderDecoder::ConvertBlocks(std::FILE* input, const char* source,
                                               const CONVERSION& conversion, const BlockUser& use) {
    unsigned char bytes[ENCODED_BLOCK_SIZE];
    CByteBuffer converted;
    std::string error;
    while (error.empty()) {
        const std::size_t count = std::fread(bytes, 1, sizeof bytes, input);
        if (count == 0) {
            return std::ferror(input) == 0 ? "" : "Failed to read " + Quoted(source);
        }
        const CByteBuffer block(bytes, static_cast<unsigned int>(count), BYTE_BUFFER_BORROWED);
        error = (this->*conversion.convert)(block, converted);
        if (error.empty()) {
            error = use(converted);
        }
    }
    return error;
}
