#include "rules/BaseEncoderDecoder.h"

#include <sys/stat.h>

#include <cstdio>

#include "util/FileHandle.h"
#include "util/FormatText.h"

namespace {

const char* TextOrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

// Opening the destination would empty the source before it is read.
bool IsSameFile(std::FILE* file, const char* path) {
    struct stat left {};
    struct stat right {};
    return ::fstat(::fileno(file), &left) == 0 && ::stat(path, &right) == 0 &&
           left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// The file that blocks are written to. A full disk may show only when it is closed.
class CBlockWriter {
public:
    explicit CBlockWriter(const char* path)
        : m_strPath(TextOrEmpty(path)), m_File(std::fopen(m_strPath.c_str(), "wb")) {}

    std::string OpenError() const {
        return m_File ? "" : FormatText("Failed to open \"%s\" for writing", m_strPath.c_str());
    }

    std::string Write(const CByteBuffer& block) {
        const unsigned int size = block.GetDataByteSize();
        return std::fwrite(block.GetDataBuffer(), 1, size, m_File.get()) == size ? ""
                                                                                 : WriteError();
    }

    std::string Close() { return std::fclose(m_File.release()) == 0 ? "" : WriteError(); }

private:
    std::string WriteError() const {
        return FormatText("Failed to write \"%s\"", m_strPath.c_str());
    }

    std::string m_strPath;
    CFileHandle m_File;
};

// Hands the file to use(block) piece by piece until that returns an error.
template <class USE>
std::string ForEachBlock(std::FILE* file, const char* path, USE use) {
    unsigned char bytes[ENCODED_BLOCK_SIZE];
    while (const std::size_t count = std::fread(bytes, 1, sizeof bytes, file)) {
        const CByteBuffer block(bytes, static_cast<unsigned int>(count), BYTE_BUFFER_BORROWED);
        std::string error = use(block);
        if (!error.empty()) {
            return error;
        }
    }
    return std::ferror(file) == 0 ? "" : FormatText("Failed to read \"%s\"", path);
}

// Appends the characters to the lines; line holds what follows the last line feed.
void SplitIntoLines(const CByteBuffer& text, std::string& line, std::vector<std::string>& lines) {
    for (unsigned int i = 0; i < text.GetDataByteSize(); ++i) {
        const char character = static_cast<char>(text.GetDataBuffer()[i]);
        if (character == '\n') {
            lines.push_back(line);
            line.clear();
        } else if (character != '\r') {
            line += character;
        }
    }
}

}  // namespace

CBaseEncoderDecoder::CBaseEncoderDecoder(const char* keyText)
    : m_strKeyText(TextOrEmpty(keyText)) {}

std::string CBaseEncoderDecoder::EncodeFile(const char* source, const char* destination) {
    return ConvertFile(source, destination, &CBaseEncoderDecoder::StartEncode,
                       &CBaseEncoderDecoder::EncodeBytes);
}

std::string CBaseEncoderDecoder::DecodeFile(const char* source, const char* destination) {
    return ConvertFile(source, destination, &CBaseEncoderDecoder::StartDecode,
                       &CBaseEncoderDecoder::DecodeBytes);
}

std::string CBaseEncoderDecoder::ConvertFile(const char* source, const char* destination,
                                             StartOperation start, BytesOperation convert) {
    const CFileHandle input = OpenFileForReading(source);
    if (!input) {
        // The wording is kept on purpose, odd as it is: callers may compare it.
        return FormatText("File \"%s\" dest not exists", TextOrEmpty(source));
    }
    std::string error = (this->*start)();
    if (!error.empty()) {
        return error;
    }
    if (IsSameFile(input.get(), TextOrEmpty(destination))) {
        return FormatText("\"%s\" cannot be converted onto itself", source);
    }
    CBlockWriter output(destination);
    error = output.OpenError();
    if (!error.empty()) {
        return error;
    }
    CByteBuffer converted;
    error = ForEachBlock(input.get(), source, [&](const CByteBuffer& block) {
        std::string failure = (this->*convert)(block, converted);
        return failure.empty() ? output.Write(converted) : failure;
    });
    const std::string closeError = output.Close();
    return error.empty() ? closeError : error;
}

std::string CBaseEncoderDecoder::EncodeTextLinesToFile(const std::vector<std::string>& lines,
                                                       const char* path) {
    if (lines.empty()) {
        return "No Input Lines to encode";
    }
    std::string error = StartEncode();
    if (!error.empty()) {
        return error;
    }
    CBlockWriter output(path);
    error = output.OpenError();
    if (!error.empty()) {
        return error;
    }
    std::string text;
    for (const std::string& line : lines) {
        text.append(line).append("\n");
    }
    CByteBuffer encoded;
    for (std::size_t done = 0; done < text.size() && error.empty(); done += ENCODED_BLOCK_SIZE) {
        // The last block has its own length: padding would read back as characters.
        std::string piece = text.substr(done, ENCODED_BLOCK_SIZE);
        const CByteBuffer block(reinterpret_cast<unsigned char*>(piece.data()),
                                static_cast<unsigned int>(piece.size()), BYTE_BUFFER_BORROWED);
        error = EncodeBytes(block, encoded);
        if (error.empty()) {
            error = output.Write(encoded);
        }
    }
    const std::string closeError = output.Close();
    return error.empty() ? closeError : error;
}

std::string CBaseEncoderDecoder::DecodeTextLinesFromFile(const char* path,
                                                         std::vector<std::string>& lines) {
    const CFileHandle input = OpenFileForReading(path);
    if (!input) {
        return FormatText("Failed to open \"%s\" for reading", TextOrEmpty(path));
    }
    std::string error = StartDecode();
    if (!error.empty()) {
        return error;
    }
    std::string line;
    CByteBuffer decoded;
    error = ForEachBlock(input.get(), path, [&](const CByteBuffer& block) {
        std::string failure = DecodeBytes(block, decoded);
        if (failure.empty()) {
            SplitIntoLines(decoded, line, lines);
        }
        return failure;
    });
    if (error.empty() && !line.empty()) {
        lines.push_back(line);
    }
    return error;
}
