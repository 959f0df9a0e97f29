#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "util/ByteBuffer.h"

// Files are scrambled in blocks of this many bytes; only the last one may be shorter.
inline constexpr unsigned int ENCODED_BLOCK_SIZE = 200;
inline constexpr unsigned int MAX_ENCODER_KEY_SIZE = 256;

// Scrambles and unscrambles bytes, files and lists of lines with a key that the caller supplies as
// a text of hexadecimal bytes. An instance serves one stream at a time: starting a new one ends the
// old one. Not synchronised.
//
// Every operation returns an error text, empty on success. A conversion that fails leaves an
// incomplete destination.
class CBaseEncoderDecoder {
public:
    explicit CBaseEncoderDecoder(const char* keyText)
        : m_strKeyText(keyText == nullptr ? "" : keyText) {}
    virtual ~CBaseEncoderDecoder() = default;
    CBaseEncoderDecoder(const CBaseEncoderDecoder&) = delete;
    CBaseEncoderDecoder& operator=(const CBaseEncoderDecoder&) = delete;

    // Parses the key; once for each instance.
    virtual std::string Initialize() = 0;

    // Convert the next bytes of the stream. output gets a copy of its own and may be the input.
    virtual std::string EncodeBytes(const CByteBuffer& input, CByteBuffer& output) = 0;
    virtual std::string DecodeBytes(const CByteBuffer& input, CByteBuffer& output) = 0;

    // Go back to the start of a stream.
    virtual std::string StartEncode() = 0;
    virtual std::string StartDecode() = 0;

    // Convert whole files, each as one stream. The two paths must not name the same file.
    std::string EncodeFile(const char* source, const char* destination);
    std::string DecodeFile(const char* source, const char* destination);

    // Lines are passed without their line feeds. Decoding appends to lines, drops carriage returns,
    // and takes a last line without a line feed too.
    std::string EncodeTextLinesToFile(const std::vector<std::string>& lines, const char* path);
    std::string DecodeTextLinesFromFile(const char* path, std::vector<std::string>& lines);

protected:
    std::string m_strKeyText;
    std::vector<unsigned char> m_Key;  // empty until Initialize

private:
    struct CONVERSION {
        std::string (CBaseEncoderDecoder::*start)();
        std::string (CBaseEncoderDecoder::*convert)(const CByteBuffer&, CByteBuffer&);
    };
    static const CONVERSION ENCODING;
    static const CONVERSION DECODING;

    using BlockUser = std::function<std::string(const CByteBuffer& block)>;

    std::string ConvertFile(const char* source, const char* destination,
                            const CONVERSION& conversion);
    // source: the name of the input, for errors.
    std::string ConvertToFile(std::FILE* input, const char* source, const char* destination,
                              const CONVERSION& conversion);
    std::string ConvertBlocks(std::FILE* input, const char* source, const CONVERSION& conversion,
                              const BlockUser& use);
};
