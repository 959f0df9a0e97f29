#pragma once

#include <cstdint>
#include <span>
#include <string_view>

enum CaptureDirections : unsigned char {
    CAPTURE_NO_DIRECTION,
    CAPTURE_FROM_CHIP,
    CAPTURE_FROM_HOST,
};

// One thing that is captured: bytes of the line, or a note, which has no direction.
struct CAPTURED_ITEM {
    std::int64_t m_nTime = 0;  // nanoseconds since 1970, UTC
    CaptureDirections m_Direction = CAPTURE_NO_DIRECTION;
    bool m_bIsHci = false;  // one whole HCI packet with its packet indicator
    std::span<const unsigned char> m_Bytes;
    std::string_view m_strNote;
};
