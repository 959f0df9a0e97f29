#include "download/HciTrace.h"

#include "os/OSTime.h"
#include "util/DateTimeHolder.h"
#include "util/FormatText.h"
#include "util/HexText.h"

std::atomic<FILE*> fDebugPrint = nullptr;

void DebugOut(const char* label, const unsigned char* bytes, unsigned int count) {
    FILE* const stream = fDebugPrint;
    if (stream == nullptr) {
        return;
    }
    dth now;
    GetCurrentOSTime(&now);
    std::string text = CDateTimeHolder(now).AsText() + " " + (label == nullptr ? "" : label);
    if (bytes != nullptr && count != 0) {
        text += FormatText("\n%d bytes: ", static_cast<int>(count));
        ConcatHexBytesToString(text, bytes, static_cast<int>(count), 32);
    }
    std::fprintf(stream, "%s\n", text.c_str());
}

std::string ShowBytesString(const char* label, const unsigned char* bytes, unsigned int count,
                            unsigned int maxShown) {
    std::string text = FormatText("%s (%0d bytes):", label, static_cast<int>(count));
    if (count <= maxShown) {
        ConcatHexBytesToString(text, bytes, static_cast<int>(count), 0);
        return text;
    }
    const int half = static_cast<int>(maxShown / 2);
    ConcatHexBytesToString(text, bytes, half, 0);
    text += " ... ";
    ConcatHexBytesToString(text, bytes + count - half, half, 0);
    return text;
}

void AppendSpaceAndHexByte(char** cursor, unsigned char value) {
    *(*cursor)++ = ' ';
    *(*cursor)++ = HexDigit(static_cast<unsigned char>(value >> 4));
    *(*cursor)++ = HexDigit(value);
}
