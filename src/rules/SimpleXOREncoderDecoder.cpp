#include "rules/SimpleXOREncoderDecoder.h"

#include "util/HexText.h"

std::string CSimpleXOREncoderDecoder::Initialize() {
    if (!m_Key.empty()) {
        return "Object is already initialized";
    }
    unsigned char key[MAX_ENCODER_KEY_SIZE];
    unsigned int count = 0;
    if (!ParseHexBytesFromString(m_strKeyText.c_str(), key, MAX_ENCODER_KEY_SIZE, &count)) {
        return "Incorrect Key";
    }
    m_Key.assign(key, key + count);
    return {};
}

std::string CSimpleXOREncoderDecoder::EncodeBytes(const CByteBuffer& input, CByteBuffer& output) {
    if (m_Key.empty()) {
        return "Not Initialized!";
    }
    const unsigned char* const bytes = input.GetDataBuffer();
    const unsigned int size = input.GetDataByteSize();
    if (bytes == nullptr || size == 0) {
        return "Empty Input data buffer";
    }
    std::vector<unsigned char> result(bytes, bytes + size);
    for (unsigned char& byte : result) {
        byte ^= m_Key[m_nKeyPosition];
        m_nKeyPosition = m_nKeyPosition + 1 == m_Key.size() ? 0 : m_nKeyPosition + 1;
    }
    output.AssignData(result.data(), size, BYTE_BUFFER_OWNED);
    return {};
}

std::string CSimpleXOREncoderDecoder::DecodeBytes(const CByteBuffer& input, CByteBuffer& output) {
    return EncodeBytes(input, output);
}

std::string CSimpleXOREncoderDecoder::StartEncode() {
    m_nKeyPosition = 0;
    return {};
}

std::string CSimpleXOREncoderDecoder::StartDecode() {
    return StartEncode();
}
