#pragma once

#include <span>
#include <string_view>

// Told of everything on the line between host and chip, whichever side it is told from, and of what
// happens in between. Any thread may call any operation, also at the same time.
class CLineObserver {
public:
    virtual ~CLineObserver() = default;

    // One transmission, told right before it is written, so that no reply can come first.
    virtual void SentByHost(std::span<const unsigned char> bytes) = 0;
    // Bytes as they arrive, in any pieces.
    virtual void SentByChip(std::span<const unsigned char> bytes) = 0;
    virtual void Note(std::string_view text) = 0;
};
