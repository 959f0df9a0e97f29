#pragma once

// Time limits are unsigned 32-bit milliseconds; this one means that there is none.
inline constexpr unsigned int NO_TIME_LIMIT = 0x7FFFFFFF;
