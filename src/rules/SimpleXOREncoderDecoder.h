#pragma once

#include "rules/BaseEncoderDecoder.h"

// XORs bytes with a repeating key that runs on from one call to the next, so a file is one stream
// however it is cut into blocks. Encoding and decoding are the same. Keeps a casual reader out, and
// nobody else.
class CSimpleXOREncoderDecoder final : public CBaseEncoderDecoder {
public:
    using CBaseEncoderDecoder::CBaseEncoderDecoder;

    std::string Initialize() override;
    std::string EncodeBytes(const CByteBuffer& input, CByteBuffer& output) override;
    std::string DecodeBytes(const CByteBuffer& input, CByteBuffer& output) override;
    std::string StartEncode() override;
    std::string StartDecode() override;

private:
    unsigned int m_nKeyPosition = 0;
};
