#pragma once

#include <string>
#include <vector>

#include "util/ByteBuffer.h"

// Files are scrambled in blocks of this many bytes; only the last one may be shorter.
inline constexpr unsigned int ENCODED_BLOCK_SIZE = 200;
inline constexpr unsigned int MAX_ENCODER_KEY_SIZE = 256;

// Scrambles and unscrambles bytes, files and lists of lines with a key that the caller supplies as
// a text of hexadecimal bytes. One stream at a time: whoever starts a new one ends the old one, so
// an instance serves one reader or one conversion at once. Not synchronised.
//
// Every operation returns an error text, empty on success. A conversion that fails leaves behind
// what it has written so far.
class CBaseEncoderDecoder {
public:
    explicit CBaseEncoderDecoder(const char* keyText);
    virtual ~CBaseEncoderDecoder() = default;
    CBaseEncoderDecoder(const CBaseEncoderDecoder&) = delete;
    CBaseEncoderDecoder& operator=(const CBaseEncoderDecoder&) = delete;

    // Takes the key into use; once for each instance.
    virtual std::string Initialize() = 0;

    // The next bytes of the stream. output takes a copy of its own and may be the input itself.
    virtual std::string EncodeBytes(const CByteBuffer& input, CByteBuffer& output) = 0;
    virtual std::string DecodeBytes(const CByteBuffer& input, CByteBuffer& output) = 0;

    // Go back to the start of a stream.
    virtual std::string StartEncode() = 0;
    virtual std::string StartDecode() = 0;

    // Whole files, from the start of a stream. The two paths must not name the same file.
    std::string EncodeFile(const char* source, const char* destination);
    std::string DecodeFile(const char* source, const char* destination);

    // Lines are passed without their line feeds. Decoding appends to lines, leaves carriage returns
    // out, and takes a last line without line feed too.
    std::string EncodeTextLinesToFile(const std::vector<std::string>& lines, const char* path);
    std::string DecodeTextLinesFromFile(const char* path, std::vector<std::string>& lines);

protected:
    std::string m_strKeyText;
    std::vector<unsigned char> m_Key;  // empty until Initialize

private:
    using StartOperation = std::string (CBaseEncoderDecoder::*)();
    using BytesOperation = std::string (CBaseEncoderDecoder::*)(const CByteBuffer&, CByteBuffer&);

    std::string ConvertFile(const char* source, const char* destination, StartOperation start,
                            BytesOperation convert);
};
