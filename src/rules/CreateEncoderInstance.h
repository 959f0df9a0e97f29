#pragma once

#include <memory>

#include "rules/BaseEncoderDecoder.h"

// Makes an encoder of the given type ("XOR", in any case) with the given key, 1 to 256 hexadecimal
// bytes. Null for any other type, a missing argument or a key that does not parse. The caller must
// still call Initialize().
std::unique_ptr<CBaseEncoderDecoder> CreateEncoderInstance(const char* type, const char* keyText);
