#include "rules/CreateEncoderInstance.h"

#include "rules/SimpleXOREncoderDecoder.h"
#include "util/HexText.h"
#include "util/TextCase.h"

std::unique_ptr<CBaseEncoderDecoder> CreateEncoderInstance(const char* type, const char* keyText) {
    unsigned char key[MAX_ENCODER_KEY_SIZE];
    unsigned int count = 0;
    if (type == nullptr || !EqualIgnoringCase(type, "XOR") ||
        !ParseHexBytesFromString(keyText, key, MAX_ENCODER_KEY_SIZE, &count)) {
        return nullptr;
    }
    return std::make_unique<CSimpleXOREncoderDecoder>(keyText);
}
