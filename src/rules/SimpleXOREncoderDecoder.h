#pragma once

#include "rules/BaseEncoderDecoder.h"

// XOR with a key that repeats and runs on from one call to the next, so that a file is one stream
// however it is cut into blocks. Encoding and decoding are the same. This hides a text from a
// casual reader and is no protection.
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
