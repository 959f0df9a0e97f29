#include "rules/TextFileRawOrEncrypted.h"

#include <algorithm>

namespace {

constexpr std::size_t PLAIN_LINE_LENGTH = 499;

bool MarksScrambledFile(char byte) {
    // Signed, so that bytes above 127 count too: most scrambled files have one.
    return byte != '\n' && byte != '\r' && static_cast<signed char>(byte) < 32;
}

}  // namespace

CTextFileRawOrEncrypted::CTextFileRawOrEncrypted(const char* path, CBaseEncoderDecoder* decoder)
    : m_pDecoder(decoder), m_File(OpenFileForReading(path)) {
    if (m_File) {
        m_bRaw = m_pDecoder == nullptr || !LooksScrambled();
        ResetFile();
    }
}

bool CTextFileRawOrEncrypted::LooksScrambled() const {
    char start[ENCODED_BLOCK_SIZE];
    const std::size_t count = std::fread(start, 1, sizeof start, m_File.get());
    return std::any_of(start, start + count, MarksScrambledFile);
}

void CTextFileRawOrEncrypted::ResetFile() {
    if (!m_File) {
        return;
    }
    std::rewind(m_File.get());
    m_Block = CByteBuffer();
    m_nBlockPosition = 0;
    const bool started = m_pDecoder == nullptr || m_pDecoder->StartDecode().empty();
    m_bFailed = !m_bRaw && !started;
}

bool CTextFileRawOrEncrypted::IsEOF() const {
    if (!m_File || m_bFailed) {
        return true;
    }
    if (m_nBlockPosition < m_Block.GetDataByteSize()) {
        return false;
    }
    const int next = std::getc(m_File.get());
    return next == EOF || std::ungetc(next, m_File.get()) == EOF;
}

std::string CTextFileRawOrEncrypted::ReadNextLine() {
    std::string line;
    if (!m_File || m_bFailed) {
        return line;
    }
    if (!m_bRaw) {
        return ReadScrambledLine();
    }
    ReadLinePiece(m_File.get(), PLAIN_LINE_LENGTH, line);
    return line;
}

std::string CTextFileRawOrEncrypted::ReadScrambledLine() {
    std::string line;
    while (m_nBlockPosition < m_Block.GetDataByteSize() || FillBlock()) {
        const char character = static_cast<char>(m_Block.GetDataBuffer()[m_nBlockPosition++]);
        if (character != '\r') {
            line += character;
        }
        if (character == '\n') {
            break;
        }
    }
    return line;
}

// Reads and decodes the next block. False at the end of the file.
bool CTextFileRawOrEncrypted::FillBlock() {
    unsigned char bytes[ENCODED_BLOCK_SIZE];
    const std::size_t count = std::fread(bytes, 1, sizeof bytes, m_File.get());
    m_nBlockPosition = 0;
    m_Block = CByteBuffer();
    if (count == 0) {
        return false;
    }
    const CByteBuffer scrambled(bytes, static_cast<unsigned int>(count), BYTE_BUFFER_BORROWED);
    m_bFailed = !m_pDecoder->DecodeBytes(scrambled, m_Block).empty();
    return !m_bFailed && m_Block.GetDataByteSize() > 0;
}
