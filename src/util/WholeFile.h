#pragma once

#include <string>
#include <string_view>

// Writes files that appear as a whole: the content goes to a temporary file in the same folder,
// which then takes the name, so that no reader and no crash ever shows a part of it. A link stays
// and leads to the new file. Devices and pipes are written to directly.
//
// Both return the system's reason, empty on success.

// On failure an existing file stays as it was.
[[nodiscard]] std::string WriteWholeFile(const std::string& path, std::string_view content);

// Checks that the file can be written, and removes an existing one: what is there later is new.
[[nodiscard]] std::string MakeRoomForWholeFile(const std::string& path);
